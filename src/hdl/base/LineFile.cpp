#include "hdl/base/LineFile.h"

#include <deque>
#include <unordered_map>

namespace hdl {

namespace {
struct FileTable {
    std::deque<std::string> names{std::string()}; // deque keeps c_str() stable
    std::unordered_map<std::string, uint32_t> ids;
};
FileTable& table() {
    static FileTable* t = new FileTable; // lives for the process
    return *t;
}
} // namespace

uint32_t LineFile::GetFileId(const std::string& name) {
    FileTable& t = table();
    auto it = t.ids.find(name);
    if (it != t.ids.end()) return it->second;
    uint32_t id = static_cast<uint32_t>(t.names.size());
    t.names.push_back(name);
    t.ids.emplace(name, id);
    return id;
}

uint32_t LineFile::FindFileId(const std::string& name) {
    FileTable& t = table();
    auto it = t.ids.find(name);
    return it == t.ids.end() ? 0 : it->second;
}

const char* LineFile::GetFileNameFromId(uint32_t id) {
    FileTable& t = table();
    if (id == 0 || id >= t.names.size()) return nullptr;
    return t.names[id].c_str();
}

const char* LineFile::GetFileName(const ColLineFile* loc) { return loc ? GetFileNameFromId(loc->fileId) : nullptr; }

uint32_t LineFile::GetLineNo(const ColLineFile* loc) { return loc ? loc->leftLine : 0; }

uint32_t LineFile::FileCount() { return static_cast<uint32_t>(table().names.size()); }

void LineFile::Reset() {
    FileTable& t = table();
    t.names.clear();
    t.names.emplace_back();
    t.ids.clear();
}

} // namespace hdl
