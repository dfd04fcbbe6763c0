// The archive layout of the database: which objects go into a Boost binary archive and in
// which order. Transport (file or shared memory) lies in the API.
#pragma once

#include "sift/database/HADLDatabase.h"

#include <cstddef>
#include <functional>

// The object the archive stores for a string table: the count of entries, then the texts
// from slot 1 on. Reading appends to the table and rebuilds its indices at the end.
struct HADLStringIndexTableSerialization {
    HADLStringIndexTable* table;
};

// True when the bytes begin as every archive does: the signature text with its length.
// Checked before the archive reads its header, whose length field it would trust.
bool hadlHasArchiveSignature(const char* data, std::size_t size);
constexpr std::size_t kHadlSignatureBytes = 30;

// Receives the archive in pieces, in order; throws when it cannot take them.
using HADLArchiveDrain = std::function<void(const char* bytes, std::size_t length)>;

void hadlWriteDatabase(const HADLDatabase& db, const HADLArchiveDrain& drain);

// Replaces db with the archive held in [data, data + size). Returns false, db untouched,
// when the bytes do not start with a header this build reads. Once the header is accepted
// db is reset, so an exception from there on leaves it partly filled. No count or length
// may claim more than the bytes that remain, so a damaged archive cannot make the reader
// allocate beyond its own size.
bool hadlReadDatabase(const char* data, std::size_t size, HADLDatabase& db);
