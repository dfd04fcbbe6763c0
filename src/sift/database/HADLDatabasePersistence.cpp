// Save and load of the database archive, by file or by POSIX shared-memory object.
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/database/HADLDatabaseArchive.h"

#include <boost/filesystem/operations.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

std::string shmPath(const std::string& name)
{
    return !name.empty() && name[0] == '/' ? name : "/" + name;
}

// The archive written straight into a new shared-memory object: no copy of it is kept in
// the process. The object is mapped with room to spare, and its pages are allocated and
// mapped ahead of the writer a stretch at a time, with one call each rather than a fault
// per page. Allocating them up front also makes a full device an error here instead of a
// fault at the first write.
class HADLShmSink : public HADLArchiveSink {
public:
    ~HADLShmSink()
    {
        if (data_ != MAP_FAILED)
            munmap(data_, mapped_);
        if (fd_ >= 0)
            close(fd_);
    }
    void create(const std::string& path)
    {
        fd_ = shm_open(path.c_str(), O_CREAT | O_EXCL | O_RDWR, 0644);
        if (fd_ < 0 || fchmod(fd_, 0644) != 0)
            throw std::runtime_error("cannot create shared memory");
    }

    Window next(std::size_t filled, std::size_t need) override
    {
        size_ += filled;
        if (ready_ - size_ < need)
            prepare(size_ + std::max(need, std::clamp(size_, kMinStretch, kMaxStretch)));
        return {data() + size_, data() + ready_};
    }
    // The object ends where the archive does.
    void finish(std::size_t filled) override
    {
        size_ += filled;
        if (ftruncate(fd_, static_cast<off_t>(size_)) != 0)
            throw std::runtime_error("cannot size shared memory");
    }

private:
    static constexpr std::size_t kMinStretch = 256 << 10;
    static constexpr std::size_t kMaxStretch = 8 << 20;

    char* data() const { return static_cast<char*>(data_); }

    // Makes the first `ready` bytes writable without faults.
    void prepare(std::size_t ready)
    {
        if (ready > mapped_)
            remap(std::max(2 * mapped_, ready));
        const off_t from = static_cast<off_t>(ready_);
        const off_t length = static_cast<off_t>(ready - ready_);
        if (fallocate(fd_, 0, from, length) != 0 && errno != EOPNOTSUPP)
            throw std::runtime_error("cannot allocate shared memory");
        // Only a shortcut: where the kernel lacks it, the pages fault in as they are written.
        madvise(data() + ready_, ready - ready_, MADV_POPULATE_WRITE);
        ready_ = ready;
    }
    void remap(std::size_t mapped)
    {
        if (ftruncate(fd_, static_cast<off_t>(mapped)) != 0)
            throw std::runtime_error("cannot size shared memory");
        void* moved = data_ == MAP_FAILED
            ? mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0)
            : mremap(data_, mapped_, mapped, MREMAP_MAYMOVE);
        if (moved == MAP_FAILED)
            throw std::runtime_error("cannot map shared memory");
        data_ = moved;
        mapped_ = mapped;
    }

    int fd_ = -1;
    void* data_ = MAP_FAILED;
    std::size_t mapped_ = 0;
    std::size_t ready_ = 0;
    std::size_t size_ = 0;
};

// A shared-memory object mapped read-only as a whole.
class HADLShmMapping {
public:
    ~HADLShmMapping()
    {
        if (data_ != MAP_FAILED)
            munmap(data_, size_);
        if (fd_ >= 0)
            close(fd_);
    }
    void open(const std::string& path)
    {
        fd_ = shm_open(path.c_str(), O_RDONLY, 0644);
        struct stat info;
        if (fd_ < 0 || fstat(fd_, &info) != 0)
            throw std::runtime_error("cannot open shared memory");
        size_ = static_cast<std::size_t>(info.st_size);
        data_ = mmap(nullptr, size_, PROT_READ, MAP_SHARED | MAP_POPULATE, fd_, 0);
        if (data_ == MAP_FAILED)
            throw std::runtime_error("cannot map shared memory");
    }
    const char* data() const { return static_cast<const char*>(data_); }
    std::size_t size() const { return size_; }

private:
    int fd_ = -1;
    void* data_ = MAP_FAILED;
    std::size_t size_ = 0;
};

// The archive through a buffer of its own into a file stream.
class HADLFileSink : public HADLArchiveSink {
public:
    explicit HADLFileSink(std::ofstream& out) : out_(out), chunk_(new char[kChunk]) {}

    Window next(std::size_t filled, std::size_t) override
    {
        write(filled);
        return {chunk_.get(), chunk_.get() + kChunk};
    }
    void finish(std::size_t filled) override { write(filled); }

private:
    // Small enough to stay in the cache between the writer and the copy into the file.
    static constexpr std::size_t kChunk = 256 << 10;

    void write(std::size_t filled)
    {
        if (filled != 0 && !out_.write(chunk_.get(), static_cast<std::streamsize>(filled)))
            throw std::runtime_error("write failed");
    }

    std::ofstream& out_;
    std::unique_ptr<char[]> chunk_;
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
        data_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd_, 0);
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
            HADLFileSink sink(out);
            hadlWriteDatabase(*db, sink);
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
        shm_unlink(path.c_str());
        HADLShmSink sink;
        sink.create(path);
        hadlWriteDatabase(*db, sink);
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
