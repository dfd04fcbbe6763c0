// Save and load of the database archive, by file or by POSIX shared-memory object.
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/database/HADLDatabaseArchive.h"

#include <boost/filesystem/operations.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

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

// A file mapped read-only as a whole. Only regular files: a directory opens, but holds
// no archive.
class HADLFileMapping {
public:
    ~HADLFileMapping()
    {
        if (data_ != MAP_FAILED)
            munmap(data_, size_);
        if (fd_ >= 0)
            close(fd_);
    }
    bool open(const std::string& path)
    {
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat info;
        if (fd_ < 0 || fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size == 0)
            return false;
        size_ = static_cast<std::size_t>(info.st_size);
        data_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd_, 0);
        if (data_ == MAP_FAILED)
            return false;
        madvise(data_, size_, MADV_SEQUENTIAL);
        return true;
    }
    const char* data() const { return static_cast<const char*>(data_); }
    std::size_t size() const { return size_; }

private:
    int fd_ = -1;
    void* data_ = MAP_FAILED;
    std::size_t size_ = 0;
};

} // namespace

int HADLDatabaseConstAPI::save(const std::string& path) const
{
    try {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        if (!out.good())
            return -1;
        try {
            hadlWriteDatabase(*db, [&out](const char* bytes, std::size_t length) {
                if (!out.write(bytes, static_cast<std::streamsize>(length)))
                    throw std::runtime_error("write failed");
            });
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
        HADLFileMapping file;
        if (!file.open(path))
            return -1;
        return hadlReadDatabase(file.data(), file.size(), *mutableDb) ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

int HADLDatabaseConstAPI::serialize(const std::string& shmName) const
{
    const std::string path = shmPath(shmName);
    try {
        // Kept as the pieces the writer hands over: one growing string would copy the
        // archive again at every reallocation.
        std::vector<std::string> pieces;
        std::size_t size = 0;
        hadlWriteDatabase(*db, [&](const char* bytes, std::size_t length) {
            pieces.emplace_back(bytes, length);
            size += length;
        });
        shm_unlink(path.c_str());
        HADLShmMapping mapping;
        mapping.create(path, size);
        char* at = mapping.data();
        for (const std::string& piece : pieces) {
            std::memcpy(at, piece.data(), piece.size());
            at += piece.size();
        }
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
        if (!hadlReadDatabase(mapping.data(), mapping.size(), *mutableDb))
            throw std::runtime_error("not an archive");
        shm_unlink(path.c_str());
        return 0;
    } catch (...) {
        shm_unlink(path.c_str());
        return -1;
    }
}
