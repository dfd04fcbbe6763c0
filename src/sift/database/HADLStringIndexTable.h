// Interning table: turns a text into a stable id (slot order of first insertion) and back.
// Slot 0 is reserved and never a valid entry. The table owns private copies of its texts.
#pragma once

#include "sift/database/HADLTextIndex.h"

#include <cstddef>
#include <vector>

// The byte hash behind std::hash<std::string>, over the text without its terminator.
struct HADLCStrHash {
    std::size_t operator()(const char* text) const;
};
struct HADLCStrEqual {
    bool operator()(const char* a, const char* b) const;
};

class HADLStringIndexTable {
public:
    HADLStringIndexTable();
    HADLStringIndexTable(const HADLStringIndexTable& other);
    HADLStringIndexTable(HADLStringIndexTable&& other) noexcept;
    HADLStringIndexTable& operator=(const HADLStringIndexTable& other);
    HADLStringIndexTable& operator=(HADLStringIndexTable&& other) noexcept;
    virtual ~HADLStringIndexTable();

    virtual unsigned find(const char* text) const;
    virtual bool contains(const char* text) const;
    virtual unsigned insert(const char* text);
    // Back to a new table; texts handed out before stay readable until destruction.
    virtual void clear();
    // Indexes slots 1..n-1 in id order, so of two equal texts the later id wins.
    virtual void rebuildIndex();

    const char* getString(unsigned id) const;
    unsigned size() const { return static_cast<unsigned>(strings.size()); }

    // Appends a text without looking it up; the loader uses it before rebuildIndex.
    void appendRaw(const char* text, std::size_t length);
    // Room for texts that the loader copies in back to back and appends to `strings`
    // itself: one allocation for a whole table instead of one per text. Freed with the
    // table.
    char* newTextBlock(std::size_t bytes);

    std::vector<char*> strings;
    HADLTextIndex<HADLCStrHash, HADLCStrEqual> index;

private:
    struct TextBlock {
        char* bytes;
        std::size_t size;
    };

    void copyFrom(const HADLStringIndexTable& other);
    void releaseTexts();
    bool inTextBlock(const char* text) const;

    // Texts of earlier contents dropped by clear, freed with the table.
    std::vector<char*> retired_;
    std::vector<TextBlock> blocks_;
};
