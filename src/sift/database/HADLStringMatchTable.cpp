#include "sift/database/HADLStringMatchTable.h"

#include <cctype>
#include <cstring>
#include <functional>
#include <string>

namespace {
constexpr std::size_t kHashSeed = 0xc70f6907UL;

unsigned char lower(char c) { return static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(c))); }
}

std::size_t HADLNoCaseHash::operator()(const char* text) const {
    std::string folded(text);
    for (char& c : folded) c = static_cast<char>(lower(c));
    return std::_Hash_bytes(folded.data(), folded.size(), kHashSeed);
}

bool HADLNoCaseEqual::operator()(const char* a, const char* b) const {
    for (; *a && *b; ++a, ++b)
        if (lower(*a) != lower(*b)) return false;
    return *a == *b;
}

HADLStringMatchTable::HADLStringMatchTable(const HADLStringMatchTable& other) : HADLStringIndexTable(other) {
    rebuildIndex();
}

HADLStringMatchTable& HADLStringMatchTable::operator=(const HADLStringMatchTable& other) {
    if (this != &other) {
        HADLStringIndexTable::operator=(other);
        rebuildIndex();
    }
    return *this;
}

HADLStringMatchTable::~HADLStringMatchTable() { noCaseIndex.clear(); }

void HADLStringMatchTable::enterNoCase(unsigned id) { noCaseIndex.assign(strings[id], id); }

unsigned HADLStringMatchTable::insert(const char* text) {
    unsigned id = find(text);
    if (id == 0) id = HADLStringIndexTable::insert(text);
    enterNoCase(id);
    return id;
}

void HADLStringMatchTable::rebuildIndex() {
    HADLStringIndexTable::rebuildIndex();
    noCaseIndex.clear();
    noCaseIndex.assignAll(strings, 1);
}

unsigned HADLStringMatchTable::findNoCase(const char* text) const { return noCaseIndex.find(text); }

bool HADLStringMatchTable::containsNoCase(const char* text) const { return findNoCase(text) != 0; }
