// Feeds arbitrary bytes to the archive loader, by file and by shared-memory object.
// Every input must give 0 or -1; a load that succeeds must leave the parallel tables sized.
#include "sift/database/HADLDatabaseAPI.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

const std::string& inputPath() {
    static const std::string path = "/dev/shm/sift_fuzz_db_" + std::to_string(getpid());
    return path;
}

void checkLoaded(const HADLDatabase& db) {
    if (db.fileAttrs.size() != db.fileNames.size() || db.unitAttrs.size() != db.unitNames.size() ||
        db.rUnitVars.size() != db.rUnitNames.size())
        std::abort();
    // A loaded table must find every one of its texts.
    for (unsigned id = 1; id < db.objNames.size(); ++id)
        if (db.objNames.find(db.objNames.getString(id)) == 0) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    {
        std::ofstream out(inputPath(), std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    HADLDatabase db;
    int result = HADLDatabaseAPI(db).load(inputPath());
    if (result == 0) checkLoaded(db);
    else if (result != -1) std::abort();

    const std::string name = "sift_fuzz_shm_" + std::to_string(getpid());
    int fd = shm_open(("/" + name).c_str(), O_CREAT | O_RDWR | O_TRUNC, 0644);
    if (fd >= 0) {
        if (write(fd, data, size) == static_cast<ssize_t>(size)) {
            HADLDatabase viaShm;
            int shmResult = HADLDatabaseAPI(viaShm).deserialize(name);
            if (shmResult != result) std::abort();
        }
        close(fd);
        shm_unlink(("/" + name).c_str());
    }
    return 0;
}
