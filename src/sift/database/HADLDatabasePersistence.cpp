// Save and load of the database archive, by file or by POSIX shared-memory object.
#include "sift/database/HADLDatabaseAPI.h"
#include "sift/database/HADLDatabaseArchive.h"

#include <boost/filesystem/operations.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

std::string shmPath(const std::string& name) { return !name.empty() && name[0] == '/' ? name : "/" + name; }

// The archive through a buffer of its own, small enough to stay in the cache, handed on
// whenever it is full.
class HADLBufferedSink : public HADLArchiveSink {
public:
    HADLBufferedSink() : chunk_(new char[kChunk]) {}

    Window next(std::size_t filled, std::size_t) override {
        if (filled != 0) drain(chunk_.get(), filled);
        return {chunk_.get(), chunk_.get() + kChunk};
    }
    void finish(std::size_t filled) override {
        if (filled != 0) drain(chunk_.get(), filled);
    }

protected:
    ~HADLBufferedSink() = default;
    virtual void drain(const char* bytes, std::size_t length) = 0;

private:
    static constexpr std::size_t kChunk = 256 << 10;

    std::unique_ptr<char[]> chunk_;
};

class HADLFileSink final : public HADLBufferedSink {
public:
    explicit HADLFileSink(std::ofstream& out) : out_(out) {}

private:
    void drain(const char* bytes, std::size_t length) override {
        if (!out_.write(bytes, static_cast<std::streamsize>(length))) throw std::runtime_error("write failed");
    }

    std::ofstream& out_;
};

// A new shared-memory object, filled by writes rather than through a mapping: the object
// grows with them, so its size is the archive's, and a page that a write fills whole is
// not cleared first, as a page first touched through a mapping is. A full device is an
// error of the write, not a fault at some later store.
class HADLShmSink final : public HADLBufferedSink {
public:
    ~HADLShmSink() {
        if (fd_ >= 0) close(fd_);
    }
    void create(const std::string& path) {
        fd_ = shm_open(path.c_str(), O_CREAT | O_EXCL | O_RDWR, 0644);
        if (fd_ < 0 || fchmod(fd_, 0644) != 0) throw std::runtime_error("cannot create shared memory");
    }

private:
    void drain(const char* bytes, std::size_t length) override {
        while (length != 0) {
            const ssize_t written = write(fd_, bytes, length);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) throw std::runtime_error("cannot write shared memory");
            bytes += written;
            length -= static_cast<std::size_t>(written);
        }
    }

    int fd_ = -1;
};

// A shared-memory object mapped read-only as a whole.
class HADLShmMapping {
public:
    ~HADLShmMapping() {
        if (data_ != MAP_FAILED) munmap(data_, size_);
        if (fd_ >= 0) close(fd_);
    }
    void open(const std::string& path) {
        fd_ = shm_open(path.c_str(), O_RDONLY, 0644);
        struct stat info;
        if (fd_ < 0 || fstat(fd_, &info) != 0) throw std::runtime_error("cannot open shared memory");
        size_ = static_cast<std::size_t>(info.st_size);
        data_ = mmap(nullptr, size_, PROT_READ, MAP_SHARED | MAP_POPULATE, fd_, 0);
        if (data_ == MAP_FAILED) throw std::runtime_error("cannot map shared memory");
    }
    const char* data() const { return static_cast<const char*>(data_); }
    std::size_t size() const { return size_; }

private:
    int fd_ = -1;
    void* data_ = MAP_FAILED;
    std::size_t size_ = 0;
};

// A file mapped read-only as a whole. Only regular files: a directory opens, but holds
// no archive.
class HADLFileMapping {
public:
    ~HADLFileMapping() {
        if (data_ != MAP_FAILED) munmap(data_, size_);
        if (fd_ >= 0) close(fd_);
    }
    bool open(const std::string& path) {
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat info;
        if (fd_ < 0 || fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size == 0) return false;
        size_ = static_cast<std::size_t>(info.st_size);
        data_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd_, 0);
        if (data_ == MAP_FAILED) return false;
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

int HADLDatabaseConstAPI::save(const std::string& path) const {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out.good()) return -1;
    try {
        HADLFileSink sink(out);
        hadlWriteDatabase(*db, sink);
        out.close();
        if (out.fail()) throw std::runtime_error("write failed");
        return 0;
    } catch (...) {
        // Closing flushes what is buffered, which fails again on a full device.
        try {
            out.close();
        } catch (...) {}
    }
    // No partial file is left. When it cannot be removed, that error is the one thing
    // that leaves a persistence operation by an exception: the sf command's guard prints
    // and records it.
    boost::filesystem::remove(path);
    return -1;
}

int HADLDatabaseAPI::load(const std::string& path) {
    try {
        HADLFileMapping file;
        if (!file.open(path)) return -1;
        return hadlReadDatabase(file.data(), file.size(), *mutableDb) ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

int HADLDatabaseConstAPI::serialize(const std::string& shmName) const {
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

int HADLDatabaseAPI::deserialize(const std::string& shmName) {
    const std::string path = shmPath(shmName);
    try {
        HADLShmMapping mapping;
        mapping.open(path);
        if (!hadlReadDatabase(mapping.data(), mapping.size(), *mutableDb)) throw std::runtime_error("not an archive");
        shm_unlink(path.c_str());
        return 0;
    } catch (...) {
        shm_unlink(path.c_str());
        return -1;
    }
}
