// What is known, per registered file, about IEEE 1735 protection, so that each file
// is examined once. Entries are added in file id order before the first phase and
// never removed; the source callback reads and updates their state.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "runtime/LoomEnvelope1735.h"

class HADLDatabase;

struct NeedDecryptionEntry {
    std::string path;
    bool isInclude = false;
    uint64_t nameKey = 0; // first 8 bytes of the file name, a quick filter before the path
    LoomEnvelope1735::eNeedDecrypt state = LoomEnvelope1735::NeedDecrypt_Maybe;
};

class NeedDecryptionCache {
public:
    static const std::vector<NeedDecryptionEntry>& entries();
    static void add(NeedDecryptionEntry entry);
    static void clear();
    // The first entry of `path`, or null. Every file open asks, so it is a hash look-up:
    // a scan of the list would make a skim of n files cost n * n compares.
    static NeedDecryptionEntry* find(const std::string& path);
    // Protection is left to the first read of each file.
    static void preanalyze();
    // Examines entries first, first + stride, ... that are still undecided; workers
    // with distinct residues share the cache without overlap.
    static void sniffEntries(size_t first, size_t stride);
    static uint64_t nameKeyOf(const std::string& path);
};

// Name key, two blanks, state name, a blank and the path.
std::ostream& operator<<(std::ostream& out, const NeedDecryptionEntry& entry);
const char* needDecryptName(unsigned state);

// One entry per file to be read, in file id order (aliases read through their alias).
void fillNeedDecryptionCache(const HADLDatabase& db);
