#include "SampleDatabase.h"

#include "sift/database/HADLDatabaseAPI.h"

#include <boost/filesystem/exception.hpp>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>

namespace {

// Writes a database of `names` object names with `write` in a child process whose files
// may not grow past 4 KB, so that the write fails part way as on a full device; true
// when the write said it failed.
bool failsWhenTheDeviceFills(int names, const std::function<int(const HADLDatabaseConstAPI&)>& write) {
    pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
        HADLDatabase db;
        for (int i = 0; i < names; ++i) db.objNames.insert(("name_" + std::to_string(i)).c_str());
        _exit(write(HADLDatabaseConstAPI(db)) == -1 ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class HADLPersistenceTest : public testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/sift_db_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
        shmName_ = "sift_db_test_" + std::to_string(getpid());
    }
    void TearDown() override {
        std::string rm = "rm -rf '" + dir_ + "'";
        ASSERT_EQ(std::system(rm.c_str()), 0);
        shm_unlink(("/" + shmName_).c_str());
    }

    std::string path(const std::string& name) const { return dir_ + "/" + name; }

    static std::string readBytes(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    static void writeBytes(const std::string& file, const std::string& bytes) {
        std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
    }
    // The archive of a database, as the identity used to compare databases.
    std::string bytesOf(const HADLDatabase& db) {
        std::string file = path("snapshot.bin");
        EXPECT_EQ(HADLDatabaseConstAPI(db).save(file), 0);
        return readBytes(file);
    }
    static bool shmExists(const std::string& name) {
        int fd = shm_open(name.c_str(), O_RDONLY, 0);
        if (fd >= 0) close(fd);
        return fd >= 0;
    }
    void writeShm(const std::string& bytes) {
        int fd = shm_open(("/" + shmName_).c_str(), O_CREAT | O_RDWR | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(fd);
    }

    std::string dir_;
    std::string shmName_;
};

// A database that the tests can tell apart from any loaded one.
void fillMarker(HADLDatabase& db) {
    db.insertFileName("marker.v", 2, "marker_lib");
    db.status.err = 99;
}

} // namespace

TEST_F(HADLPersistenceTest, NewDatabaseRoundTrips) {
    HADLDatabase empty;
    std::string file = path("empty.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(empty).save(file), 0);
    HADLDatabase db;
    fillMarker(db);
    ASSERT_EQ(HADLDatabaseAPI(db).load(file), 0);
    EXPECT_EQ(db.fileNames.size(), 1u);
    EXPECT_EQ(db.fileAttrs.size(), 1u);
    EXPECT_EQ(db.status.err, 0);
    EXPECT_EQ(bytesOf(db), readBytes(file));
}

TEST_F(HADLPersistenceTest, LoadRestoresContentAndIndices) {
    HADLDatabase original;
    fillSampleDatabase(original);
    std::string file = path("sample.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(original).save(file), 0);

    HADLDatabase db;
    fillMarker(db);
    ASSERT_EQ(HADLDatabaseAPI(db).load(file), 0);
    EXPECT_EQ(db.fileNames.find("marker.v"), 0u);
    EXPECT_EQ(db.fileNames.find("rtl/pkg.vhd"), 2u);
    EXPECT_EQ(db.unitNames.find(".work.top(W=8)"), 3u);
    EXPECT_EQ(db.objNames.find("clk"), original.objNames.find("clk"));
    EXPECT_EQ(db.stdVhdlLibNames.findNoCase("ieee"), 1u);
    EXPECT_EQ(db.stdSVLibNames.findNoCase("UVM"), 1u);
    EXPECT_EQ(db.getDefaultLibrary(), "work");
    EXPECT_TRUE(db.sameSetup(original));
    EXPECT_EQ(db.status.err, -7);
    EXPECT_EQ(db.variables.at(1).kind, 0x203u);
    EXPECT_EQ(db.variables.at(1).fileId, 2u);
    EXPECT_EQ(db.variables.at(1).references.size(), 3u);
    EXPECT_EQ(db.primaryToUnits, original.primaryToUnits);
    EXPECT_EQ(db.unitAttrs.at(1).ports.at(0).attributes.at(0).value,
              original.unitAttrs.at(1).ports.at(0).attributes.at(0).value);
    EXPECT_EQ(db.derivedUnits.size(), db.unitNames.size());
}

TEST_F(HADLPersistenceTest, LoadThenSaveGivesSameBytes) {
    HADLDatabase original;
    fillSampleDatabase(original);
    // One key, so that the map's iteration order cannot differ.
    original.primaryToUnits.erase(original.objNames.find("sub"));
    std::string file = path("sample.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(original).save(file), 0);
    HADLDatabase db;
    ASSERT_EQ(HADLDatabaseAPI(db).load(file), 0);
    EXPECT_EQ(bytesOf(db), readBytes(file));
}

// Only the first object of a class carries a preamble; here the first instance and the
// first port stand in the second unit, after a unit whose lists are empty.
TEST_F(HADLPersistenceTest, ClassFirstSeenDeepInAListRoundTrips) {
    HADLDatabase original;
    original.unitNames.insert(".work.a");
    original.unitNames.insert(".work.b");
    original.resizeTables();
    HADLDatabase::UnitAttr& b = original.unitAttrs.at(2);
    b.insts.push_back({1, 5, 0, 12, true, false, true});
    b.insts.push_back({2, 6, 0, 13, false, true, false});
    b.ports.push_back({7, 1, 2, 3, 4, 5, 6, 8, 9, {{10, 11}}});
    original.unitAttrs.at(1).libId = 3;
    std::string file = path("deep.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(original).save(file), 0);

    HADLDatabase db;
    ASSERT_EQ(HADLDatabaseAPI(db).load(file), 0);
    EXPECT_EQ(db.unitAttrs.at(1).libId, 3u);
    EXPECT_TRUE(db.unitAttrs.at(1).insts.empty());
    ASSERT_EQ(db.unitAttrs.at(2).insts.size(), 2u);
    EXPECT_EQ(db.unitAttrs.at(2).insts.at(1).line, 13u);
    EXPECT_TRUE(db.unitAttrs.at(2).insts.at(1).isInactive);
    ASSERT_EQ(db.unitAttrs.at(2).ports.size(), 1u);
    EXPECT_EQ(db.unitAttrs.at(2).ports.at(0).slaveDirection, 9u);
    EXPECT_EQ(db.unitAttrs.at(2).ports.at(0).attributes.at(0).value, 11u);
    EXPECT_EQ(bytesOf(db), readBytes(file));
}

// The writer fills a buffer of its own and hands texts longer than it over directly; the
// order of the bytes must not suffer, and file and shared memory carry the same archive.
TEST_F(HADLPersistenceTest, TextLongerThanTheWriteBufferKeepsItsPlace) {
    HADLDatabase original;
    fillSampleDatabase(original);
    const std::string longText(3 << 20, 'x');
    original.objNames.insert(longText.c_str());
    original.objNames.insert("after_long");
    std::string file = path("long.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(original).save(file), 0);
    const std::string bytes = readBytes(file);

    ASSERT_EQ(HADLDatabaseConstAPI(original).serialize(shmName_), 0);
    int fd = shm_open(("/" + shmName_).c_str(), O_RDONLY, 0);
    ASSERT_GE(fd, 0);
    std::string shared(bytes.size() + 1, '\0');
    EXPECT_EQ(read(fd, &shared[0], shared.size()), static_cast<ssize_t>(bytes.size()));
    close(fd);
    shared.resize(bytes.size());
    EXPECT_TRUE(shared == bytes);

    HADLDatabase db;
    ASSERT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), 0);
    EXPECT_EQ(db.objNames.find(longText.c_str()), original.objNames.find(longText.c_str()));
    EXPECT_EQ(db.objNames.find("after_long"), original.objNames.find("after_long"));
    EXPECT_TRUE(db.sameSetup(original));
}

// The parent reads with Boost 1.72, which writes library version 17 and refuses any
// newer archive; the Boost of this build (1.74 on Debian) would write 18.
TEST_F(HADLPersistenceTest, HeaderIsBoost172s) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    const std::string bytes = bytesOf(sample);
    const std::string header("\x16\0\0\0\0\0\0\0serialization::archive\x11\0\x04\x08\x04\x08\x01\0\0\0", 40);
    EXPECT_EQ(bytes.substr(0, 40), header);
    ASSERT_EQ(HADLDatabaseConstAPI(sample).serialize(shmName_), 0);
    int fd = shm_open(("/" + shmName_).c_str(), O_RDONLY, 0);
    ASSERT_GE(fd, 0);
    char shared[40];
    ASSERT_EQ(read(fd, shared, sizeof shared), 40);
    close(fd);
    EXPECT_EQ(std::string(shared, 40), header);
}

// Boost 1.72 reads the low byte of the version and passes over the high one; of 17 and
// below (down to the 8 this reader knows) it reads everything, of 18 and above nothing.
TEST_F(HADLPersistenceTest, NewerLibraryVersionFailsAndKeepsDatabase) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    const std::string good = bytesOf(sample);
    // What a good read saves: the order of primaryToUnits follows its map.
    writeBytes(path("good.bin"), good);
    HADLDatabase goodRead;
    ASSERT_EQ(HADLDatabaseAPI(goodRead).load(path("good.bin")), 0);
    const std::string readBack = bytesOf(goodRead);
    HADLDatabase db;
    fillMarker(db);
    const std::string before = bytesOf(db);
    for (unsigned char version : {18, 19, 0xff}) {
        std::string newer = good;
        newer[30] = static_cast<char>(version);
        writeBytes(path("newer.bin"), newer);
        EXPECT_EQ(HADLDatabaseAPI(db).load(path("newer.bin")), -1) << unsigned(version);
        writeShm(newer);
        EXPECT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), -1) << unsigned(version);
        EXPECT_FALSE(shmExists("/" + shmName_));
        EXPECT_EQ(bytesOf(db), before) << unsigned(version);
    }
    for (unsigned char version : {8, 16}) {
        std::string older = good;
        older[30] = static_cast<char>(version);
        writeBytes(path("older.bin"), older);
        HADLDatabase read;
        EXPECT_EQ(HADLDatabaseAPI(read).load(path("older.bin")), 0) << unsigned(version);
        EXPECT_TRUE(bytesOf(read) == readBack) << unsigned(version);
    }
    std::string highByte = good;
    highByte[31] = 5;
    writeBytes(path("high.bin"), highByte);
    HADLDatabase read;
    EXPECT_EQ(HADLDatabaseAPI(read).load(path("high.bin")), 0);
    EXPECT_TRUE(bytesOf(read) == readBack);
}

// Archives of library versions before 8 encode versions and counts in other widths.
TEST_F(HADLPersistenceTest, OlderLibraryVersionFailsAndKeepsDatabase) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    std::string older = bytesOf(sample);
    older[30] = 7;
    older[31] = 0;
    writeBytes(path("older.bin"), older);
    HADLDatabase db;
    fillMarker(db);
    const std::string before = bytesOf(db);
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("older.bin")), -1);
    EXPECT_EQ(bytesOf(db), before);
}

TEST_F(HADLPersistenceTest, LoadKeepsEqualEntriesAndFindsTheLater) {
    HADLDatabase original;
    original.objNames.appendRaw("twin", 4);
    original.objNames.appendRaw("solo", 4);
    original.objNames.appendRaw("twin", 4);
    original.stdVhdlLibNames.insert("Ieee");
    original.stdVhdlLibNames.insert("IEEE");
    original.stdVhdlLibNames.insert("Ieee");
    std::string file = path("twins.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(original).save(file), 0);
    HADLDatabase db;
    ASSERT_EQ(HADLDatabaseAPI(db).load(file), 0);
    EXPECT_EQ(db.objNames.size(), 4u);
    EXPECT_EQ(db.objNames.find("twin"), 3u);
    EXPECT_EQ(db.stdVhdlLibNames.findNoCase("ieee"), 2u);
}

TEST_F(HADLPersistenceTest, SaveIntoMissingDirectoryFailsAndCreatesNothing) {
    HADLDatabase db;
    std::string file = path("no/such/dir/out.bin");
    EXPECT_EQ(HADLDatabaseConstAPI(db).save(file), -1);
    struct stat info;
    EXPECT_NE(stat(path("no").c_str(), &info), 0);
}

TEST_F(HADLPersistenceTest, SaveReplacesOldFile) {
    HADLDatabase big;
    fillSampleDatabase(big);
    HADLDatabase small;
    std::string file = path("out.bin");
    ASSERT_EQ(HADLDatabaseConstAPI(big).save(file), 0);
    ASSERT_EQ(HADLDatabaseConstAPI(small).save(file), 0);
    HADLDatabase db;
    fillMarker(db);
    ASSERT_EQ(HADLDatabaseAPI(db).load(file), 0);
    EXPECT_EQ(db.fileNames.size(), 1u);
}

TEST_F(HADLPersistenceTest, FailedSaveRemovesPartialFile) {
    std::string file = path("partial.bin");
    EXPECT_TRUE(failsWhenTheDeviceFills(10000, [&](const HADLDatabaseConstAPI& api) { return api.save(file); }));
    struct stat info;
    EXPECT_NE(stat(file.c_str(), &info), 0);
}

// The same for shared memory: the object is written piece by piece, and a write that
// fails part way must leave no object behind.
// A file that takes no archive and cannot be removed: the kernel refuses the text of
// /proc/self/clear_refs (it wants a number) and any unlink in /proc. The removal's error
// leaves save by its exception, for the sf command's guard to report.
TEST_F(HADLPersistenceTest, FailedSaveThatCannotRemoveItsFileThrows) {
    const std::string procFile = "/proc/self/clear_refs";
    if (access(procFile.c_str(), W_OK) != 0) GTEST_SKIP() << procFile << " is not writable here";
    HADLDatabase sample;
    fillSampleDatabase(sample);
    try {
        HADLDatabaseConstAPI(sample).save(procFile);
        ADD_FAILURE() << "no exception";
    } catch (const boost::filesystem::filesystem_error& e) {
        EXPECT_EQ(e.path1().string(), procFile);
        EXPECT_NE(std::string(e.what()).find("remove"), std::string::npos) << e.what();
    }
}

TEST_F(HADLPersistenceTest, FailedSerializeRemovesPartialObject) {
    writeShm("an older object of the same name");
    EXPECT_TRUE(
        failsWhenTheDeviceFills(100000, [&](const HADLDatabaseConstAPI& api) { return api.serialize(shmName_); }));
    EXPECT_FALSE(shmExists("/" + shmName_));
}

TEST_F(HADLPersistenceTest, LoadOfMissingFileFailsAndKeepsDatabase) {
    HADLDatabase db;
    fillMarker(db);
    std::string before = bytesOf(db);
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("missing.bin")), -1);
    EXPECT_EQ(HADLDatabaseAPI(db).load(dir_), -1);
    EXPECT_EQ(bytesOf(db), before);
}

TEST_F(HADLPersistenceTest, LoadOfFewBytesOrOtherWordSizeKeepsDatabase) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    std::string good = bytesOf(sample);
    HADLDatabase db;
    fillMarker(db);
    std::string before = bytesOf(db);

    writeBytes(path("few.bin"), good.substr(0, 5));
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("few.bin")), -1);
    writeBytes(path("zero.bin"), "");
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("zero.bin")), -1);

    // The header: 8-byte length and 22 characters of the signature, the 2-byte library
    // version, then the sizes of int, long, float and double.
    std::string otherLong = good;
    ASSERT_EQ(otherLong[33], 8);
    otherLong[33] = 4;
    writeBytes(path("long4.bin"), otherLong);
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("long4.bin")), -1);

    std::string otherSignature = good;
    otherSignature[8] = 'S';
    writeBytes(path("sig.bin"), otherSignature);
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("sig.bin")), -1);

    std::string newerLibrary = good;
    newerLibrary[30] = 0x7f;
    writeBytes(path("lib.bin"), newerLibrary);
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("lib.bin")), -1);

    EXPECT_EQ(bytesOf(db), before);
}

TEST_F(HADLPersistenceTest, TruncatedArchiveFailsWithTablesPartlyFilled) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    std::string good = bytesOf(sample);
    writeBytes(path("half.bin"), good.substr(0, good.size() / 2));
    HADLDatabase db;
    fillMarker(db);
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("half.bin")), -1);
    EXPECT_EQ(db.fileNames.find("rtl/top.sv"), 1u);
    EXPECT_EQ(db.fileNames.find("marker.v"), 0u);
    EXPECT_EQ(db.nonHdlModuleNames.size(), 1u);
}

// A text length that claims more than the archive holds, in the middle of a table: the
// texts before it are kept, in one block with the table, and the tables finished before
// are indexed. Clearing the table afterwards keeps the old texts readable.
TEST_F(HADLPersistenceTest, DamagedTextKeepsTheTextsBeforeIt) {
    HADLDatabase sample;
    sample.fileNames.insert("f.v");
    for (int i = 0; i < 5; ++i) sample.objNames.insert(("obj" + std::to_string(i)).c_str());
    std::string bytes = bytesOf(sample);
    const std::size_t third = bytes.find("obj2") - 8;
    ASSERT_EQ(bytes[third], 4);
    bytes[third + 6] = 0x7f;
    writeBytes(path("damaged.bin"), bytes);

    HADLDatabase db;
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("damaged.bin")), -1);
    EXPECT_EQ(db.fileNames.find("f.v"), 1u);
    ASSERT_EQ(db.objNames.size(), 3u);
    const char* kept = db.objNames.getString(2);
    EXPECT_STREQ(kept, "obj1");
    db.objNames.clear();
    EXPECT_EQ(db.objNames.insert("new"), 1u);
    EXPECT_STREQ(kept, "obj1");
}

TEST_F(HADLPersistenceTest, EveryTruncationFails) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    std::string good = bytesOf(sample);
    // Through shared memory, which is much faster to rewrite than a file.
    for (std::size_t length = 0; length < good.size(); ++length) {
        writeShm(good.substr(0, length));
        HADLDatabase db;
        ASSERT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), -1) << "length " << length;
    }
}

TEST_F(HADLPersistenceTest, DamagedBytesNeverCrash) {
    HADLDatabase sample;
    fillSampleDatabase(sample);
    std::string good = bytesOf(sample);
    int loaded = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (unsigned char value : {0x00, 0x01, 0x7f, 0xff}) {
            std::string damaged = good;
            damaged[at] = static_cast<char>(value);
            writeShm(damaged);
            HADLDatabase db;
            int result = HADLDatabaseAPI(db).deserialize(shmName_);
            ASSERT_TRUE(result == 0 || result == -1);
            if (result == 0) {
                ++loaded;
                EXPECT_EQ(db.unitAttrs.size(), db.unitNames.size());
                EXPECT_EQ(db.fileMsgs.size(), db.fileNames.size());
            }
        }
    }
    // Ids and texts may change without breaking the structure.
    EXPECT_GT(loaded, 0);
}

TEST_F(HADLPersistenceTest, RandomBytesFail) {
    std::mt19937 random(12345);
    for (int round = 0; round < 200; ++round) {
        std::string bytes(1 + random() % 4096, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        writeBytes(path("random.bin"), bytes);
        HADLDatabase db;
        EXPECT_EQ(HADLDatabaseAPI(db).load(path("random.bin")), -1);
    }
}

TEST_F(HADLPersistenceTest, HugeClaimedLengthsFailWithoutAllocating) {
    HADLDatabase sample;
    sample.fileNames.insert("a");
    std::string good = bytesOf(sample);
    // After the 40-byte header, three preambles of 5 bytes and the count 1, the 8-byte
    // length of the first text.
    std::size_t lengthAt = 40 + 15 + 4;
    ASSERT_EQ(good[lengthAt], 1);
    std::string huge = good;
    std::memset(&huge[lengthAt], 0x7f, 8);
    writeBytes(path("huge.bin"), huge);
    HADLDatabase db;
    EXPECT_EQ(HADLDatabaseAPI(db).load(path("huge.bin")), -1);
}

TEST_F(HADLPersistenceTest, SerializeThenDeserializeConsumesObject) {
    HADLDatabase original;
    fillSampleDatabase(original);
    ASSERT_EQ(HADLDatabaseConstAPI(original).serialize(shmName_), 0);
    EXPECT_TRUE(shmExists("/" + shmName_));
    struct stat info;
    int fd = shm_open(("/" + shmName_).c_str(), O_RDONLY, 0);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(fstat(fd, &info), 0);
    close(fd);
    EXPECT_EQ(static_cast<std::size_t>(info.st_size), bytesOf(original).size());
    EXPECT_EQ(info.st_mode & 0777, 0644u);

    HADLDatabase db;
    fillMarker(db);
    ASSERT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), 0);
    EXPECT_FALSE(shmExists("/" + shmName_));
    EXPECT_TRUE(db.sameSetup(original));
    EXPECT_EQ(db.stdVhdlLibNames.findNoCase("Ieee"), 1u);
    EXPECT_EQ(bytesOf(db).size(), bytesOf(original).size());
}

TEST_F(HADLPersistenceTest, SlashedAndPlainNamesMeanTheSameObject) {
    HADLDatabase original;
    original.addMacro("M", "1");
    ASSERT_EQ(HADLDatabaseConstAPI(original).serialize("/" + shmName_), 0);
    HADLDatabase db;
    ASSERT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), 0);
    EXPECT_EQ(db.macroNames.find("M"), 1u);
    EXPECT_FALSE(shmExists("/" + shmName_));
}

TEST_F(HADLPersistenceTest, SerializeReplacesExistingObject) {
    writeShm(std::string(100000, 'x'));
    HADLDatabase original;
    original.addNonHdlModule("ip");
    ASSERT_EQ(HADLDatabaseConstAPI(original).serialize(shmName_), 0);
    HADLDatabase db;
    ASSERT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), 0);
    EXPECT_EQ(db.nonHdlModuleNames.find("ip"), 1u);
}

TEST_F(HADLPersistenceTest, DeserializeOfMissingObjectFails) {
    HADLDatabase db;
    fillMarker(db);
    std::string before = bytesOf(db);
    EXPECT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), -1);
    EXPECT_EQ(bytesOf(db), before);
}

TEST_F(HADLPersistenceTest, FailedDeserializeConsumesObject) {
    HADLDatabase db;
    fillMarker(db);
    std::string before = bytesOf(db);
    writeShm("not an archive at all, just some bytes");
    EXPECT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), -1);
    EXPECT_FALSE(shmExists("/" + shmName_));
    EXPECT_EQ(bytesOf(db), before);

    writeShm("");
    EXPECT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), -1);
    EXPECT_FALSE(shmExists("/" + shmName_));

    HADLDatabase sample;
    fillSampleDatabase(sample);
    std::string good = bytesOf(sample);
    writeShm(good.substr(0, good.size() - 3));
    EXPECT_EQ(HADLDatabaseAPI(db).deserialize(shmName_), -1);
    EXPECT_FALSE(shmExists("/" + shmName_));
    EXPECT_EQ(db.fileNames.find("rtl/top.sv"), 1u);
}
