#include "sift/scan/HADLNeedDecryptionCache.h"

#include <boost/filesystem/path.hpp>
#include <cstring>
#include <fstream>
#include <unordered_map>

#include "hdl/base/Language.h"
#include "runtime/LoomScopeTimer.h"
#include "sift/database/HADLDatabase.h"

namespace {

struct Store {
    std::vector<NeedDecryptionEntry> entries;
    std::unordered_map<std::string, size_t> firstByPath;
};

Store& store() {
    static Store s;
    return s;
}

} // namespace

const std::vector<NeedDecryptionEntry>& NeedDecryptionCache::entries() { return store().entries; }

void NeedDecryptionCache::add(NeedDecryptionEntry entry) {
    Store& s = store();
    s.firstByPath.emplace(entry.path, s.entries.size());
    s.entries.push_back(std::move(entry));
}

void NeedDecryptionCache::clear() {
    store().entries.clear();
    store().firstByPath.clear();
}

uint64_t NeedDecryptionCache::nameKeyOf(const std::string& path) {
    std::string name = boost::filesystem::path(path).filename().string();
    uint64_t key = 0;
    std::memcpy(&key, name.data(), std::min<size_t>(name.size(), sizeof key));
    return key;
}

NeedDecryptionEntry* NeedDecryptionCache::find(const std::string& path) {
    Store& s = store();
    auto it = s.firstByPath.find(path);
    return it == s.firstByPath.end() ? nullptr : &s.entries[it->second];
}

void NeedDecryptionCache::preanalyze() { LoomScopeTimer timer("NeedDecryptionCache::preanalyze"); }

void NeedDecryptionCache::sniffEntries(size_t first, size_t stride) {
    auto& cache = store().entries;
    for (size_t i = first; i < cache.size(); i += stride ? stride : cache.size()) {
        NeedDecryptionEntry& e = cache[i];
        if (e.state != LoomEnvelope1735::NeedDecrypt_Maybe) continue;
        std::ifstream in(e.path, std::ios::binary);
        e.state = LoomEnvelope1735::sniffOutTickProtect(in) < 0 ? LoomEnvelope1735::NeedDecrypt_No
                                                                : LoomEnvelope1735::NeedDecrypt_Yes;
    }
}

const char* needDecryptName(unsigned state) {
    switch (state) {
    case LoomEnvelope1735::NeedDecrypt_Maybe: return "NeedDecrypt_Maybe";
    case LoomEnvelope1735::NeedDecrypt_No: return "NeedDecrypt_No";
    case LoomEnvelope1735::NeedDecrypt_Yes: return "NeedDecrypt_Yes";
    default: return nullptr;
    }
}

std::ostream& operator<<(std::ostream& out, const NeedDecryptionEntry& entry) {
    char key[sizeof entry.nameKey];
    std::memcpy(key, &entry.nameKey, sizeof key);
    for (char c : key) out << (c ? c : '*');
    out << "  ";
    if (const char* name = needDecryptName(entry.state)) out << name;
    else out << "NeedDecrypt_Bogus" << static_cast<unsigned>(entry.state);
    return out << ' ' << entry.path;
}

void fillNeedDecryptionCache(const HADLDatabase& db) {
    for (unsigned id = 1; id < db.fileNames.size(); ++id) {
        const HADLDatabase::FileAttr& f = db.fileAttrs.at(id);
        if (f.isAliasOfId) continue;
        unsigned t = f.tempAliasId ? f.tempAliasId : id;
        const HADLDatabase::FileAttr& g = db.fileAttrs.at(t);
        if (g.isStdVhdl || g.isDisabled) continue;
        NeedDecryptionEntry e;
        e.path = db.fileNames.getString(t);
        e.isInclude = hdl::IsIncludeLanguage(g.lang);
        e.nameKey = NeedDecryptionCache::nameKeyOf(e.path);
        NeedDecryptionCache::add(std::move(e));
    }
}
