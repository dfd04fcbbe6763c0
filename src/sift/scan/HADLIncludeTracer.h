// Records, while the skim reads, which file includes which: every stream opened
// through the source callback enters here, and leaves when it is destroyed. Entries
// and exits nest, so the file on top of the stack is the includer of the next one.
#pragma once

#include <string>
#include <vector>

class HADLDatabase;

class HADLIncludeTracer {
public:
    explicit HADLIncludeTracer(HADLDatabase* db) : db(db) {}

    void enter(const std::string& name);
    void leave(const std::string& name);

    HADLDatabase* db;
    std::vector<unsigned> stack; // file ids being read, innermost last
};
