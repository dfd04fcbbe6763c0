// Throw-away data directories for tests, and LOOM_DATADIR set for one test's scope.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>

#include <boost/filesystem.hpp>

class TempDataDir {
public:
    TempDataDir() {
        path_ = (boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("sift-data-%%%%-%%%%-%%%%"))
                    .string();
        boost::filesystem::create_directories(path_);
    }
    ~TempDataDir() {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }
    TempDataDir(const TempDataDir&) = delete;
    TempDataDir& operator=(const TempDataDir&) = delete;

    const std::string& path() const { return path_; }

    // Writes `text` to `relative`, creating the directories on the way.
    void write(const std::string& relative, const std::string& text = "") const {
        boost::filesystem::path file = boost::filesystem::path(path_) / relative;
        boost::filesystem::create_directories(file.parent_path());
        std::ofstream(file.string()) << text;
    }

private:
    std::string path_;
};

class ScopedDataDirEnv {
public:
    explicit ScopedDataDirEnv(const char* value) {
        const char* old = std::getenv("LOOM_DATADIR");
        hadOld_ = old != nullptr;
        if (old) old_ = old;
        if (value) setenv("LOOM_DATADIR", value, 1);
        else unsetenv("LOOM_DATADIR");
    }
    explicit ScopedDataDirEnv(const std::string& value) : ScopedDataDirEnv(value.c_str()) {}
    ~ScopedDataDirEnv() {
        if (hadOld_) setenv("LOOM_DATADIR", old_.c_str(), 1);
        else unsetenv("LOOM_DATADIR");
    }
    ScopedDataDirEnv(const ScopedDataDirEnv&) = delete;
    ScopedDataDirEnv& operator=(const ScopedDataDirEnv&) = delete;

private:
    bool hadOld_ = false;
    std::string old_;
};
