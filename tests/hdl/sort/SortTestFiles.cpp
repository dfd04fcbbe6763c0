#include "SortTestFiles.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

SortTestFiles::SortTestFiles() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sorttest-XXXXXX").string();
    dir_ = mkdtemp(pattern.data()) ? pattern : std::string(".");
}

SortTestFiles::~SortTestFiles() {
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
}

std::string SortTestFiles::write(const std::string& name, const std::string& text) const {
    std::string full = path(name);
    std::filesystem::create_directories(std::filesystem::path(full).parent_path());
    std::ofstream(full, std::ios::binary) << text;
    return full;
}

size_t& sortTestMessages() {
    static size_t count = 0;
    return count;
}

void countSortTestMessage(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {
    ++sortTestMessages();
}
