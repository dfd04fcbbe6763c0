#include "hdl/elab/VeriUselib.h"

#include <filesystem>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/sv/VeriLibrary.h"

namespace hdl {

namespace {

VeriModule* Usable(VeriModule* m) {
    return m && !m->IsPackage() && !m->IsConfiguration() && !m->IsRootModule() && !m->IsPrimitive() ? m : nullptr;
}

// Whether the module was analysed from `wanted`: the same path, or, for a relative one,
// a path that ends with it at a directory boundary.
bool FromFile(const VeriModule* m, const std::string& wanted) {
    ColLineFile loc = m->Linefile();
    const char* file = LineFile::GetFileNameFromId(loc.fileId);
    if (!file) return false;
    std::string have = std::filesystem::path(file).lexically_normal().generic_string();
    std::string want = std::filesystem::path(wanted).lexically_normal().generic_string();
    if (have == want) return true;
    if (want.empty() || want.front() == '/' || have.size() <= want.size()) return false;
    return have.compare(have.size() - want.size(), want.size(), want) == 0 &&
           have[have.size() - want.size() - 1] == '/';
}

VeriModule* ByFile(std::string_view name, const std::string& file) {
    for (VeriLibrary* lib : veri_file::AllLibraries())
        if (VeriModule* m = Usable(lib->GetModule(name)); m && FromFile(m, file)) return m;
    return nullptr;
}

} // namespace

VeriModule* VeriUselibFind(std::string_view directives, std::string_view name, std::string& library) {
    std::vector<std::pair<std::string, std::string>> specs; // (key, value) in order
    std::vector<std::string> extensions;
    size_t pos = 0;
    while (pos < directives.size()) {
        size_t end = directives.find(' ', pos);
        if (end == std::string_view::npos) end = directives.size();
        std::string_view word = directives.substr(pos, end - pos);
        pos = end + 1;
        size_t eq = word.find('=');
        if (eq == std::string_view::npos) continue;
        std::string key(word.substr(0, eq)), value(word.substr(eq + 1));
        if (key == "libext") extensions.push_back(value);
        else specs.emplace_back(key, value);
    }
    if (extensions.empty()) extensions.push_back("");
    for (const auto& [key, value] : specs) {
        if (key == "lib") {
            VeriLibrary* lib = veri_file::GetLibrary(value.c_str());
            if (VeriModule* m = lib ? Usable(lib->GetModule(name)) : nullptr) return m;
            library = value;
        } else if (key == "file") {
            if (VeriModule* m = ByFile(name, value)) return m;
        } else if (key == "dir") {
            for (const std::string& ext : extensions)
                if (VeriModule* m = ByFile(name, value + "/" + std::string(name) + ext)) return m;
        }
    }
    return nullptr;
}

} // namespace hdl
