// Throughput of the database archive on a database the size of a large design: save and
// load through a file, serialize and deserialize through shared memory. Prints MB/s for
// each and the peak resident size of the process. Arguments: the archive file, and how
// many rounds of the four to run (1).
#include "sift/database/HADLDatabaseAPI.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace {

constexpr unsigned kFiles = 200000;
constexpr unsigned kObjNames = 1000000;
constexpr unsigned kUnits = 100000;

void fill(HADLDatabase& db) {
    db.setDefaultLibrary("work");
    db.reserveFileTables(kFiles + 1);
    for (unsigned i = 0; i < kFiles; ++i) {
        std::string path = "/proj/src/block" + std::to_string(i / 100) + "/file" + std::to_string(i) + ".sv";
        db.insertFileName(path, i % 3 == 0 ? 11 : 5, "lib" + std::to_string(i % 20));
    }
    for (unsigned i = 0; db.objNames.size() <= kObjNames; ++i) db.objNames.insert(("sig_" + std::to_string(i)).c_str());
    for (unsigned i = 1; i <= kFiles; ++i) {
        HADLDatabase::FileProp& prop = db.fileProps.at(i);
        prop.includedFiles = {1 + i % kFiles, 1 + (i * 7) % kFiles};
        prop.parsReqFiles = {1 + (i * 3) % kFiles, 1 + (i * 5) % kFiles, 1 + (i * 11) % kFiles};
        db.parseOrder.push_back(i);
        db.blockRanges.at(i) = {{1, 100}, {20, 40}};
    }
    for (unsigned u = 0; u < kUnits; ++u) {
        db.unitNames.insert((".lib" + std::to_string(u % 20) + ".unit" + std::to_string(u)).c_str());
        db.rUnitNames.insert((".lib" + std::to_string(u % 20) + ".unit" + std::to_string(u)).c_str());
    }
    db.resizeTables();
    unsigned fmt = db.fmtStrs.insert("%s is not declared in %s");
    for (unsigned u = 1; u <= kUnits; ++u) {
        HADLDatabase::UnitAttr& unit = db.unitAttrs.at(u);
        unit.libId = 1 + u % 20;
        unit.primaryId = u * 9 % kObjNames + 1;
        unit.fileId = 1 + u % kFiles;
        unit.startLine = u % 1000;
        unit.endLine = unit.startLine + 200;
        for (unsigned k = 0; k < 5; ++k)
            unit.insts.push_back(
                {1 + (u + k * 13) % kUnits, 1 + (u * 5 + k) % kObjNames, unit.fileId, 10 + k, k == 0, false, false});
        for (unsigned k = 0; k < 6; ++k) unit.ports.push_back({1 + (u + k) % kObjNames, 2, 3, 4, 5, 0, 6, 0, 0, {}});
        for (unsigned k = 0; k < 3; ++k)
            unit.parameters.push_back({1 + (u * 3 + k) % kObjNames, 7, 0, 0, 0, 8, 0, 0, 0, true, k == 2});
        unit.attributes.push_back({9, 10});
        HADLDatabase::RUnitAttr& raw = db.rUnitAttrs.at(u);
        raw.libId = unit.libId;
        raw.primaryId = unit.primaryId;
        raw.fileIds = {unit.fileId};
        raw.insts = {{unit.insts[0].instId, 1 + u % kUnits}};
        HADLDatabase::Msg msg;
        msg.line = unit.startLine;
        msg.type = 1;
        msg.fmtId = fmt;
        msg.args = {db.argStrs.insert(("n" + std::to_string(u)).c_str()), db.argStrs.insert("top")};
        db.fileMsgs.at(unit.fileId).push_back(msg);
        HADLDatabase::Declaration decl;
        decl.name = unit.primaryId;
        decl.fileId = unit.fileId;
        decl.line = unit.startLine;
        decl.references.push_back({unit.fileId, unit.startLine + 1, 3});
        db.variables.push_back(decl);
        db.unitRanges.push_back({unit.primaryId, unit.fileId, unit.startLine, unit.endLine, 0});
    }
    db.tops = {1};
}

long peakMb() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

// User plus system time of the process; on a shared machine wall time alone overstates
// what the code costs.
double cpuSeconds() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

struct Timing {
    double wall;
    double cpu;
    long peakGrowthMb; // how far the operation raised the peak resident size
};

Timing measure(const std::function<int()>& work, int& result) {
    const double cpuStart = cpuSeconds();
    const long peakStart = peakMb();
    auto start = std::chrono::steady_clock::now();
    result = work();
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), cpuSeconds() - cpuStart,
            peakMb() - peakStart};
}

void report(const char* what, Timing t, std::size_t bytes, int result) {
    std::printf("%-12s wall %7.3f s %7.1f MB/s  cpu %7.3f s %7.1f MB/s  result %d  peak RSS %ld MB (+%ld)\n", what,
                t.wall, bytes / 1e6 / t.wall, t.cpu, bytes / 1e6 / t.cpu, result, peakMb(), t.peakGrowthMb);
}

} // namespace

int main(int argc, char** argv) {
    const std::string file = argc > 1 ? argv[1] : "/tmp/sift_bench_database.bin";
    // Rounds after the first run on memory that the process has used and freed before;
    // the first touches fresh pages, which costs more on some machines than the work.
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 1;
    const std::string shm = "sift_bench_database_" + std::to_string(getpid());

    HADLDatabase db;
    auto start = std::chrono::steady_clock::now();
    fill(db);
    std::printf("fill         %8.3f s  peak RSS %ld MB\n",
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), peakMb());

    HADLDatabase loaded;
    HADLDatabase fromShm;
    std::size_t bytes = 0;
    for (int round = 1; round <= rounds; ++round) {
        if (rounds > 1) std::printf("round %d\n", round);
        int result = 0;
        Timing t = measure([&] { return HADLDatabaseConstAPI(db).save(file); }, result);
        if (round == 1) {
            FILE* f = std::fopen(file.c_str(), "rb");
            std::fseek(f, 0, SEEK_END);
            bytes = static_cast<std::size_t>(std::ftell(f));
            std::fclose(f);
            std::printf("archive size %.1f MB (%s)\n", bytes / 1e6, file.c_str());
        }
        report("save", t, bytes, result);

        loaded = HADLDatabase();
        t = measure([&] { return HADLDatabaseAPI(loaded).load(file); }, result);
        report("load", t, bytes, result);

        t = measure([&] { return HADLDatabaseConstAPI(db).serialize(shm); }, result);
        report("serialize", t, bytes, result);

        fromShm = HADLDatabase();
        t = measure([&] { return HADLDatabaseAPI(fromShm).deserialize(shm); }, result);
        report("deserialize", t, bytes, result);
    }

    std::remove(file.c_str());
    const bool same = loaded.sameSetup(db) && fromShm.sameSetup(db) && loaded.unitAttrs.size() == db.unitAttrs.size();
    std::printf("loaded copies match: %s\n", same ? "yes" : "no");
    return same ? 0 : 1;
}
