// The archive layout of the database: which objects go into a Boost binary archive and in
// which order. Transport (file or shared memory) lies in the API.
#pragma once

#include "sift/database/HADLDatabase.h"

#include <cstddef>

// The object the archive stores for a string table: the count of entries, then the texts
// from slot 1 on. Reading appends to the table and rebuilds its indices at the end.
struct HADLStringIndexTableSerialization {
    HADLStringIndexTable* table;
};

// True when the bytes begin as every archive does: the signature text with its length.
// Checked before the archive reads its header, whose length field it would trust.
bool hadlHasArchiveSignature(const char* data, std::size_t size);
constexpr std::size_t kHadlSignatureBytes = 30;
// The archive library version in the header: Boost 1.72's (1.68 to 1.72 write 17), which
// the parent reads with; an archive of a newer version is refused.
constexpr unsigned kHadlArchiveLibraryVersion = 17;

// Where the writer puts the archive. It fills the window it was given, in order; when it
// needs more room it says how much of the window it filled and asks for a new window of at
// least `need` bytes (never more than a few dozen). Both calls throw when the bytes cannot
// be taken.
class HADLArchiveSink {
public:
    struct Window {
        char* begin;
        char* end;
    };
    virtual Window next(std::size_t filled, std::size_t need) = 0;
    // The archive is complete with `filled` bytes of the last window.
    virtual void finish(std::size_t filled) = 0;

protected:
    ~HADLArchiveSink() = default;
};

void hadlWriteDatabase(const HADLDatabase& db, HADLArchiveSink& sink);

// Replaces db with the archive held in [data, data + size). Returns false, db untouched,
// when the bytes do not start with a header this build reads. Once the header is accepted
// db is reset, so an exception from there on leaves it partly filled. No count or length
// may claim more than the bytes that remain, so a damaged archive cannot make the reader
// allocate beyond its own size.
bool hadlReadDatabase(const char* data, std::size_t size, HADLDatabase& db);
