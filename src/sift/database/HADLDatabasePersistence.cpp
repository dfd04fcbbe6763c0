// Save and load of the database archive, by file or by POSIX shared-memory object.
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/database/HADLDatabaseArchive.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/iostreams/device/array.hpp>
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/stream.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

std::string shmPath(const std::string& name)
{
    return !name.empty() && name[0] == '/' ? name : "/" + name;
}

// A descriptor and a mapping of a shared-memory object, released on every path.
class HADLShmMapping {
public:
    ~HADLShmMapping()
    {
        if (data_ != MAP_FAILED)
            munmap(data_, size_);
        if (fd_ >= 0)
            close(fd_);
    }
    void create(const std::string& path, std::size_t size)
    {
        fd_ = shm_open(path.c_str(), O_CREAT | O_EXCL | O_RDWR, 0644);
        if (fd_ < 0 || fchmod(fd_, 0644) != 0 || ftruncate(fd_, static_cast<off_t>(size)) != 0)
            throw std::runtime_error("cannot create shared memory");
        map(size, PROT_READ | PROT_WRITE);
    }
    void open(const std::string& path)
    {
        fd_ = shm_open(path.c_str(), O_RDONLY, 0644);
        struct stat info;
        if (fd_ < 0 || fstat(fd_, &info) != 0)
            throw std::runtime_error("cannot open shared memory");
        map(static_cast<std::size_t>(info.st_size), PROT_READ);
    }
    char* data() const { return static_cast<char*>(data_); }
    std::size_t size() const { return size_; }

private:
    void map(std::size_t size, int protection)
    {
        size_ = size;
        data_ = mmap(nullptr, size, protection, MAP_SHARED, fd_, 0);
        if (data_ == MAP_FAILED)
            throw std::runtime_error("cannot map shared memory");
    }

    int fd_ = -1;
    void* data_ = MAP_FAILED;
    std::size_t size_ = 0;
};

// Replaces the database with what the archive holds. The archive header has been checked
// by the caller, so a failure from here on leaves the database partly filled.
void readInto(boost::archive::binary_iarchive& ar, HADLDatabase& db, std::size_t byteLimit)
{
    db = HADLDatabase();
    hadlReadDatabase(ar, db, byteLimit);
    db.resizeTables();
}

} // namespace

int HADLDatabaseConstAPI::save(const std::string& path) const
{
    try {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        if (!out.good())
            return -1;
        try {
            {
                boost::archive::binary_oarchive ar(*out.rdbuf(), 0);
                hadlWriteDatabase(ar, *db);
            }
            out.close();
            if (out.fail())
                throw std::runtime_error("write failed");
            return 0;
        } catch (...) {
            // Closing flushes what is buffered, which fails again on a full device.
            try {
                out.close();
            } catch (...) {
            }
            boost::system::error_code ignored;
            boost::filesystem::remove(path, ignored);
            return -1;
        }
    } catch (...) {
        return -1;
    }
}

int HADLDatabaseAPI::load(const std::string& path)
{
    try {
        std::ifstream in(path, std::ios::binary);
        if (!in.good())
            return -1;
        in.seekg(0, std::ios::end);
        const std::streamoff size = in.tellg();
        in.seekg(0, std::ios::beg);
        char signature[kHadlSignatureBytes];
        in.read(signature, sizeof signature);
        if (size < 0 || !in.good() || !hadlHasArchiveSignature(signature, sizeof signature))
            return -1;
        in.seekg(0, std::ios::beg);
        std::unique_ptr<boost::archive::binary_iarchive> ar;
        try {
            ar = std::make_unique<boost::archive::binary_iarchive>(*in.rdbuf(), 0);
        } catch (...) {
            return -1;
        }
        readInto(*ar, *mutableDb, static_cast<std::size_t>(size));
        return 0;
    } catch (...) {
        return -1;
    }
}

int HADLDatabaseConstAPI::serialize(const std::string& shmName) const
{
    const std::string path = shmPath(shmName);
    try {
        std::string archive;
        {
            namespace io = boost::iostreams;
            io::stream<io::back_insert_device<std::string>> out(io::back_inserter(archive), 4096);
            {
                boost::archive::binary_oarchive ar(out, 0);
                hadlWriteDatabase(ar, *db);
            }
            out.flush();
            if (!out.good())
                throw std::runtime_error("write failed");
        }
        shm_unlink(path.c_str());
        HADLShmMapping mapping;
        mapping.create(path, archive.size());
        std::memcpy(mapping.data(), archive.data(), archive.size());
        return 0;
    } catch (...) {
        shm_unlink(path.c_str());
        return -1;
    }
}

int HADLDatabaseAPI::deserialize(const std::string& shmName)
{
    const std::string path = shmPath(shmName);
    try {
        HADLShmMapping mapping;
        mapping.open(path);
        if (!hadlHasArchiveSignature(mapping.data(), mapping.size()))
            throw std::runtime_error("not an archive");
        namespace io = boost::iostreams;
        io::stream<io::array_source> in(mapping.data(), mapping.size());
        std::unique_ptr<boost::archive::binary_iarchive> ar;
        try {
            ar = std::make_unique<boost::archive::binary_iarchive>(in, 0);
        } catch (...) {
            shm_unlink(path.c_str());
            return -1;
        }
        readInto(*ar, *mutableDb, mapping.size());
        ar.reset();
        shm_unlink(path.c_str());
        return 0;
    } catch (...) {
        shm_unlink(path.c_str());
        return -1;
    }
}
