// The library directories of saved units, and the restore of a unit from its file.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "hdl/base/LineFile.h"
#include "hdl/store/StoreLoaderBase.h"

namespace hdl::store {
// Where the saved units of each library lie, and which are known to be absent or
// refused (reported once).
template <class L>
class Directories {
public:
    std::string directoryOf(const std::string& library) const {
        auto it = paths_.find(library);
        if (it != paths_.end()) return it->second;
        return defaultPath_.empty() ? std::string() : defaultPath_ + "/" + library;
    }

    // The unit `key` restored from its file, or null when there is none or when it is
    // refused (`tell` reports why, at the file).
    template <class Decode, class Tell>
    typename L::Unit* restore(const std::string& libraryName, const std::string& key, const std::string& fileName,
                              Decode decode, Tell tell) {
        const std::string dir = directoryOf(libraryName);
        std::pair<std::string, std::string> known{libraryName, key};
        if (dir.empty() || absent_.count(known)) return nullptr;
        if (Session<L>* s = Session<L>::active())
            if (s->loadingOf(libraryName, key)) return nullptr;
        const std::string path = dir + "/" + fileName;
        std::error_code ec;
        if (!std::filesystem::is_regular_file(path, ec)) {
            absent_.insert(known);
            return nullptr;
        }
        try {
            return decode(StoreMappedFile(path).bytes(), path);
        } catch (const StoreError& e) {
            // The unit stays absent, and a use of it is reported as usual.
            absent_.insert(known);
            ColLineFile loc = LineFile::StartOf(path);
            tell(loc, path, e.what());
            return nullptr;
        }
    }

    void setDefault(const char* path) {
        defaultPath_ = path ? path : "";
        absent_.clear();
    }
    void setPath(const std::string& library, const char* path) {
        paths_[library] = path ? path : "";
        absent_.clear();
    }
    void forget() {
        paths_.clear();
        defaultPath_.clear();
        absent_.clear();
    }

    // Writes a unit's saved form into its library's directory; throws StoreError.
    template <class Encode>
    void save(const std::string& library, const std::string& fileName, Encode encode) const {
        const std::string dir = directoryOf(library);
        if (dir.empty()) throw StoreError("the library has no directory (SetDefaultLibraryPath, AddLibraryPath)");
        std::error_code ec;
        std::filesystem::create_directories(dir, ec);
        StoreWriteFile(dir + "/" + fileName, encode());
    }

private:
    std::map<std::string, std::string> paths_;
    std::string defaultPath_;
    std::set<std::pair<std::string, std::string>> absent_;
};

} // namespace hdl::store
