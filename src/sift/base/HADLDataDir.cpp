#include "sift/base/HADLDataDir.h"

#include <cstdlib>

#include <boost/filesystem/operations.hpp>

std::string findDataDir(const std::string& relativePath) {
    const char* value = std::getenv("LOOM_DATADIR");
    if (!value || !*value) return std::string();
    std::string list(value);
    std::size_t start = 0;
    while (start <= list.size()) {
        std::size_t end = list.find(':', start);
        if (end == std::string::npos) end = list.size();
        std::string dir = list.substr(start, end - start) + "/";
        boost::system::error_code error;
        // Only existence counts: a probe that cannot be examined is simply absent.
        if (boost::filesystem::exists(boost::filesystem::status(dir + relativePath, error))) return dir;
        start = end + 1;
    }
    return std::string();
}
