#include "sift/database/HADLStringIndexTable.h"

#include "sift/database/HADLBulkMemory.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

namespace {
constexpr std::size_t kHashSeed = 0xc70f6907UL;
}

std::size_t HADLCStrHash::operator()(const char* text) const {
    return std::_Hash_bytes(text, std::strlen(text), kHashSeed);
}

bool HADLCStrEqual::operator()(const char* a, const char* b) const { return std::strcmp(a, b) == 0; }

HADLStringIndexTable::HADLStringIndexTable() : strings(1, nullptr) {}

HADLStringIndexTable::HADLStringIndexTable(const HADLStringIndexTable& other) : strings(1, nullptr) { copyFrom(other); }

HADLStringIndexTable::HADLStringIndexTable(HADLStringIndexTable&& other) noexcept : strings(1, nullptr) {
    std::swap(strings, other.strings);
    std::swap(index, other.index);
    std::swap(retired_, other.retired_);
    std::swap(blocks_, other.blocks_);
}

HADLStringIndexTable& HADLStringIndexTable::operator=(const HADLStringIndexTable& other) {
    if (this != &other) {
        releaseTexts();
        strings.assign(1, nullptr);
        index.clear();
        copyFrom(other);
    }
    return *this;
}

HADLStringIndexTable& HADLStringIndexTable::operator=(HADLStringIndexTable&& other) noexcept {
    if (this != &other) {
        std::swap(strings, other.strings);
        std::swap(index, other.index);
        std::swap(retired_, other.retired_);
        std::swap(blocks_, other.blocks_);
    }
    return *this;
}

HADLStringIndexTable::~HADLStringIndexTable() { releaseTexts(); }

void HADLStringIndexTable::releaseTexts() {
    for (std::size_t i = 1; i < strings.size(); ++i)
        if (!inTextBlock(strings[i])) std::free(strings[i]);
    for (char* text : retired_)
        if (!inTextBlock(text)) std::free(text);
    retired_.clear();
    for (const TextBlock& block : blocks_) hadlBulkRelease(block.bytes, block.size);
    blocks_.clear();
}

bool HADLStringIndexTable::inTextBlock(const char* text) const {
    const std::less<const char*> before;
    for (const TextBlock& block : blocks_)
        if (!before(text, block.bytes) && before(text, block.bytes + block.size)) return true;
    return false;
}

void HADLStringIndexTable::copyFrom(const HADLStringIndexTable& other) {
    strings.reserve(other.strings.size());
    for (std::size_t i = 1; i < other.strings.size(); ++i) strings.push_back(strdup(other.strings[i]));
    HADLStringIndexTable::rebuildIndex();
}

unsigned HADLStringIndexTable::find(const char* text) const { return index.find(text); }

bool HADLStringIndexTable::contains(const char* text) const { return find(text) != 0; }

unsigned HADLStringIndexTable::insert(const char* text) {
    if (unsigned id = find(text)) return id;
    char* copy = strdup(text);
    unsigned id = size();
    strings.push_back(copy);
    index.assign(copy, id);
    return id;
}

void HADLStringIndexTable::clear() {
    retired_.insert(retired_.end(), strings.begin() + 1, strings.end());
    strings.assign(1, nullptr);
    index.clear();
}

void HADLStringIndexTable::rebuildIndex() {
    index.clear();
    index.assignAll(strings, 1);
}

const char* HADLStringIndexTable::getString(unsigned id) const {
    if (id == 0 || id >= strings.size()) return "";
    return strings[id];
}

void HADLStringIndexTable::appendRaw(const char* text, std::size_t length) {
    char* copy = static_cast<char*>(std::malloc(length + 1));
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    strings.push_back(copy);
}

char* HADLStringIndexTable::newTextBlock(std::size_t bytes) {
    blocks_.reserve(blocks_.size() + 1);
    blocks_.push_back({static_cast<char*>(hadlBulkAllocate(bytes)), bytes});
    return blocks_.back().bytes;
}
