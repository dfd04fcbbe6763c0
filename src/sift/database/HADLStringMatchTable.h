// Interning table with a second, case-insensitive index for VHDL names. The case-insensitive
// index answers with the spelling inserted last.
#pragma once

#include "sift/database/HADLStringIndexTable.h"

struct HADLNoCaseHash {
    std::size_t operator()(const char* text) const;
};
struct HADLNoCaseEqual {
    bool operator()(const char* a, const char* b) const;
};

class HADLStringMatchTable : public HADLStringIndexTable {
public:
    HADLStringMatchTable() = default;
    HADLStringMatchTable(const HADLStringMatchTable& other);
    HADLStringMatchTable(HADLStringMatchTable&& other) noexcept = default;
    HADLStringMatchTable& operator=(const HADLStringMatchTable& other);
    HADLStringMatchTable& operator=(HADLStringMatchTable&& other) noexcept = default;
    ~HADLStringMatchTable() override;

    unsigned insert(const char* text) override;
    void rebuildIndex() override;
    virtual unsigned findNoCase(const char* text) const;
    virtual bool containsNoCase(const char* text) const;

    HADLTextIndex<HADLNoCaseHash, HADLNoCaseEqual> noCaseIndex;

private:
    void enterNoCase(unsigned id);
};
