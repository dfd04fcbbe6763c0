#include "sift/database/HADLStringIndexTable.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

namespace {
constexpr std::size_t kHashSeed = 0xc70f6907UL;
}

std::size_t HADLCStrHash::operator()(const char* text) const
{
    return std::_Hash_bytes(text, std::strlen(text), kHashSeed);
}

bool HADLCStrEqual::operator()(const char* a, const char* b) const
{
    return std::strcmp(a, b) == 0;
}

HADLStringIndexTable::HADLStringIndexTable() : strings(1, nullptr) {}

HADLStringIndexTable::HADLStringIndexTable(const HADLStringIndexTable& other)
    : strings(1, nullptr)
{
    copyFrom(other);
}

HADLStringIndexTable::HADLStringIndexTable(HADLStringIndexTable&& other) noexcept
    : strings(1, nullptr)
{
    std::swap(strings, other.strings);
    std::swap(index, other.index);
    std::swap(retired_, other.retired_);
}

HADLStringIndexTable& HADLStringIndexTable::operator=(const HADLStringIndexTable& other)
{
    if (this != &other) {
        releaseTexts();
        strings.assign(1, nullptr);
        index.clear();
        copyFrom(other);
    }
    return *this;
}

HADLStringIndexTable& HADLStringIndexTable::operator=(HADLStringIndexTable&& other) noexcept
{
    if (this != &other) {
        std::swap(strings, other.strings);
        std::swap(index, other.index);
        std::swap(retired_, other.retired_);
    }
    return *this;
}

HADLStringIndexTable::~HADLStringIndexTable()
{
    releaseTexts();
}

void HADLStringIndexTable::releaseTexts()
{
    for (std::size_t i = 1; i < strings.size(); ++i)
        std::free(strings[i]);
    for (char* text : retired_)
        std::free(text);
    retired_.clear();
}

void HADLStringIndexTable::copyFrom(const HADLStringIndexTable& other)
{
    strings.reserve(other.strings.size());
    for (std::size_t i = 1; i < other.strings.size(); ++i)
        strings.push_back(strdup(other.strings[i]));
    HADLStringIndexTable::rebuildIndex();
}

unsigned HADLStringIndexTable::find(const char* text) const
{
    auto it = index.find(text);
    return it == index.end() ? 0 : it->second;
}

bool HADLStringIndexTable::contains(const char* text) const
{
    return find(text) != 0;
}

unsigned HADLStringIndexTable::insert(const char* text)
{
    if (unsigned id = find(text))
        return id;
    char* copy = strdup(text);
    unsigned id = size();
    strings.push_back(copy);
    index[copy] = id;
    return id;
}

void HADLStringIndexTable::clear()
{
    retired_.insert(retired_.end(), strings.begin() + 1, strings.end());
    strings.assign(1, nullptr);
    index = decltype(index)();
}

void HADLStringIndexTable::rebuildIndex()
{
    index.clear();
    index.reserve(size());
    for (unsigned id = 1; id < size(); ++id)
        index[strings[id]] = id;
}

const char* HADLStringIndexTable::getString(unsigned id) const
{
    if (id == 0 || id >= strings.size())
        return "";
    return strings[id];
}

void HADLStringIndexTable::appendRaw(const char* text, std::size_t length)
{
    char* copy = static_cast<char*>(std::malloc(length + 1));
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    strings.push_back(copy);
}
