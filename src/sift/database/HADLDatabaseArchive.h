// The archive layout of the database: which objects go into a Boost binary archive and in
// which order. Transport (file or shared memory) lies in the API.
#pragma once

#include "sift/database/HADLDatabase.h"

#include <cstddef>

namespace boost {
namespace archive {
class binary_oarchive;
class binary_iarchive;
}
}

// The object the archive stores for a string table: the count of entries, then the texts
// from slot 1 on. Reading appends to the table and rebuilds its indices at the end.
struct HADLStringIndexTableSerialization {
    HADLStringIndexTable* table;
};

// True when the bytes begin as every archive does: the signature text with its length.
// Checked before the archive reads its header, whose length field it would trust.
bool hadlHasArchiveSignature(const char* data, std::size_t size);
constexpr std::size_t kHadlSignatureBytes = 30;

void hadlWriteDatabase(boost::archive::binary_oarchive& ar, const HADLDatabase& db);
// byteLimit is the size of the whole archive; no count or length read may claim more, so a
// damaged archive cannot make the reader allocate beyond its own size.
void hadlReadDatabase(boost::archive::binary_iarchive& ar, HADLDatabase& db,
                      std::size_t byteLimit);
