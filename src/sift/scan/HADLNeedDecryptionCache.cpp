#include "sift/scan/HADLNeedDecryptionCache.h"

#include <boost/filesystem/path.hpp>
#include <cstring>
#include <fstream>

#include "runtime/LoomScopeTimer.h"
#include "sift/database/HADLDatabase.h"

std::vector<NeedDecryptionEntry>& NeedDecryptionCache::entries() {
    static std::vector<NeedDecryptionEntry> cache;
    return cache;
}

uint64_t NeedDecryptionCache::nameKeyOf(const std::string& path) {
    std::string name = boost::filesystem::path(path).filename().string();
    uint64_t key = 0;
    std::memcpy(&key, name.data(), std::min<size_t>(name.size(), sizeof key));
    return key;
}

NeedDecryptionEntry* NeedDecryptionCache::find(const std::string& path) {
    uint64_t key = nameKeyOf(path);
    for (NeedDecryptionEntry& e : entries())
        if (e.nameKey == key && e.path == path)
            return &e;
    return nullptr;
}

void NeedDecryptionCache::preanalyze() { LoomScopeTimer timer("NeedDecryptionCache::preanalyze"); }

void NeedDecryptionCache::sniffEntries(size_t first, size_t stride) {
    auto& cache = entries();
    for (size_t i = first; i < cache.size(); i += stride ? stride : cache.size()) {
        NeedDecryptionEntry& e = cache[i];
        if (e.state != LoomEnvelope1735::NeedDecrypt_Maybe)
            continue;
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
    for (char c : key)
        out << (c ? c : '*');
    out << "  ";
    if (const char* name = needDecryptName(entry.state))
        out << name;
    else
        out << "NeedDecrypt_Bogus" << static_cast<unsigned>(entry.state);
    return out << ' ' << entry.path;
}

void fillNeedDecryptionCache(const HADLDatabase& db) {
    for (unsigned id = 1; id < db.fileNames.size(); ++id) {
        const HADLDatabase::FileAttr& f = db.fileAttrs.at(id);
        if (f.isAliasOfId)
            continue;
        unsigned t = f.tempAliasId ? f.tempAliasId : id;
        const HADLDatabase::FileAttr& g = db.fileAttrs.at(t);
        if (g.isStdVhdl || g.isDisabled)
            continue;
        NeedDecryptionEntry e;
        e.path = db.fileNames.getString(t);
        e.isInclude = g.lang == 14;
        e.nameKey = NeedDecryptionCache::nameKeyOf(e.path);
        NeedDecryptionCache::entries().push_back(std::move(e));
    }
}
