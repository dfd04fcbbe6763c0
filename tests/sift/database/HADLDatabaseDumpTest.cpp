#include "sift/database/HADLDatabaseAPI.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::string tempPath(const char* name) { return ::testing::TempDir() + "/" + name; }

std::string printed(const HADLDatabase& db, bool hier = false) {
    std::string path = tempPath(hier ? "dump_hier.txt" : "dump_all.txt");
    HADLDatabaseConstAPI api(db);
    EXPECT_EQ(hier ? api.printHierTree(path) : api.print(path), 0);
    std::string text = readFile(path);
    std::remove(path.c_str());
    return text;
}

HADLDatabase::InstAttr inst(unsigned unit, unsigned name, unsigned file, unsigned line) {
    HADLDatabase::InstAttr i;
    i.unitId = unit;
    i.instId = name;
    i.fileId = file;
    i.line = line;
    return i;
}

unsigned addUnit(HADLDatabase& db, const char* key, const char* primary, unsigned file, unsigned line) {
    unsigned id = db.unitNames.insert(key);
    db.resizeTables();
    db.unitAttrs.at(id).primaryId = db.objNames.insert(primary);
    db.unitAttrs.at(id).fileId = file;
    db.unitAttrs.at(id).startLine = line;
    return id;
}

// A database in which every printed section holds something.
void fill(HADLDatabase& db) {
    unsigned a = db.insertFileName("rtl/top.v", 2, "work");
    unsigned b = db.insertFileName("rtl/pkg.vhd", 11, "mylib");
    unsigned c = db.insertFileName("rtl/defs.vh", 14, "work");
    db.fileAttrs.at(b).tempAliasId = a;
    db.fileAttrs.at(b).isDisabled = true;
    db.fileAttrs.at(c).isAliasOfId = b;
    db.fileAttrs.at(c).isStdVhdl = true;
    db.fileProps.at(a).includedFiles = {c};
    db.fileProps.at(a).parsReqFiles = {b, c};
    db.fileProps.at(b).elabReqFiles = {a};
    db.parseOrder = {b, a};
    db.options.ignoreTranslateOff = true;
    db.setDefaultLibrary("work");
    db.stdVhdlLibNames.insert("ieee");
    db.stdSVLibNames.insert("std");
    unsigned list = db.newIncDirList();
    db.addIncDir("rtl/include", list);
    db.addMacro("DEBUG", "1");

    unsigned raw = db.rUnitNames.insert(".work.top");
    db.resizeTables();
    db.rUnitAttrs.at(raw).libId = db.objNames.insert("work");
    db.rUnitAttrs.at(raw).primaryId = db.objNames.insert("top");
    db.rUnitAttrs.at(raw).fileIds = {a};
    db.rUnitAttrs.at(raw).insts.push_back({db.objNames.insert("u_leaf"), raw});

    unsigned top = addUnit(db, ".work.top", "top", a, 1);
    unsigned leaf = addUnit(db, ".work.leaf", "leaf", a, 20);
    unsigned copy = addUnit(db, ".work.leaf(W=8)", "leaf(W=8)", a, 20);
    unsigned idle = addUnit(db, ".work.idle", "idle", a, 40);
    db.unitAttrs.at(copy).origUnitId = leaf;
    HADLDatabase::UnitAttr& t = db.unitAttrs.at(top);
    t.endLine = 18;
    t.leftCol = 1;
    t.rightCol = 10;
    t.insts.push_back(inst(leaf, db.objNames.insert("u_b"), a, 5));
    t.insts.push_back(inst(copy, db.objNames.insert("U_A"), a, 6));
    t.insts.back().hasParam = true;
    t.inactiveUnits = {idle};
    HADLDatabase::PortAttr clk;
    clk.name = db.objNames.insert("clk");
    clk.portDirection = db.objNames.insert("in");
    clk.attributes.push_back({db.objNames.insert("keep"), db.objNames.insert("true")});
    t.ports.push_back(clk);
    HADLDatabase::PortAttr unnamed;
    unnamed.typeName = db.objNames.insert("logic");
    t.ports.push_back(unnamed);
    HADLDatabase::ParamAttr w;
    w.name = db.objNames.insert("W");
    w.defaultValue = db.objNames.insert("8");
    w.isParamDecl = true;
    t.parameters.push_back(w);
    t.attributes.push_back({db.objNames.insert("dont_touch"), db.objNames.insert("yes")});
    db.unitAttrs.at(leaf).isInterface = true;
    db.unitAttrs.at(idle).isConfig = true;
    db.tops = {top};

    HADLDatabase::UnitAttr dup;
    dup.libId = db.objNames.insert("work");
    dup.primaryId = db.objNames.insert("top");
    dup.fileId = b;
    db.duplicateAttrs.push_back(dup);
    db.pkgIds.at(b) = {db.objNames.insert("my_pkg")};
    db.tesselModuleNames.insert("tessel_fifo");
    db.tesselLibClauseButNoInsts = true;

    HADLDatabase::Declaration d;
    d.name = db.objNames.insert("clk");
    d.type = db.declTypes.insert("wire");
    d.kind = 0x103;
    d.fileId = a;
    d.line = 3;
    d.startCol = 9;
    d.references.push_back({a, 7, 12});
    db.variables.push_back(d);

    HADLDatabase::Msg m;
    m.line = 4;
    m.type = 1;
    m.fmtId = db.fmtStrs.insert("%s is not declared");
    m.args = {db.argStrs.insert("foo")};
    db.fileMsgs.at(a).push_back(m);
    db.blockRanges.at(a) = {{1, 18}, {20, 30}};
    db.status.err = 11;
    db.status.isParseDone = true;
    db.addGeneric("DEPTH", "16");
    db.addNonHdlModule("ext_core");
}

} // namespace

TEST(HADLDatabaseDumpTest, EverySectionMatchesTheGoldenText) {
    HADLDatabase db;
    fill(db);
    std::string golden = readFile(std::string(SIFT_TEST_DATA) + "/golden/print_full.txt");
    std::string actual = printed(db);
    if (actual != golden) {
        std::string keep = tempPath("print_full.actual");
        std::ofstream(keep) << actual;
        ADD_FAILURE() << "dump differs from the golden text; actual output kept in " << keep;
    }
}

TEST(HADLDatabaseDumpTest, NewDatabasePrintsEmptySectionsAndZeroOptions) {
    HADLDatabase db;
    std::string text = printed(db);
    EXPECT_NE(text.find("fileNames : {\n}\n"), std::string::npos);
    EXPECT_NE(text.find("parseOrder : [\n]\n"), std::string::npos);
    EXPECT_NE(text.find("options : {\n  ignoreTranslateOff = 0\n  project.defaultLibrary = 0\n"
                        "  project.hsv.strictVhdlLibSearchOrder = 0\n  project.enableVHDL2019 = 0\n}\n"),
              std::string::npos);
    EXPECT_NE(text.find("pkgIds : {\n}\n"), std::string::npos);
    EXPECT_NE(text.find("tesselLibClauseButNoInsts: {\n  0\n}\n"), std::string::npos);
    // 31 sections, each ending in a closing bracket at column 0.
    size_t closers = 0;
    for (size_t p = 0; (p = text.find('\n', p)) != std::string::npos; ++p)
        if (p + 1 < text.size() && (text[p + 1] == '}' || text[p + 1] == ']')) ++closers;
    EXPECT_EQ(closers + (text[0] == '}' ? 1 : 0), 31u);
}

TEST(HADLDatabaseDumpTest, HierTreeSortsInstancesWithoutCaseAndPutsInactiveLast) {
    HADLDatabase db;
    fill(db);
    EXPECT_EQ(printed(db, true), "top == .work.top\n"
                                 "  leaf \"U_A\" == .work.leaf(W=8)\n"
                                 "  leaf \"u_b\" == .work.leaf\n"
                                 "  idle (INACTIVE) == .work.idle\n");
}

TEST(HADLDatabaseDumpTest, WalkIsStableForEqualNamesAndStopsOnRequest) {
    HADLDatabase db;
    unsigned f = db.insertFileName("x.v", 2, "work");
    unsigned root = addUnit(db, ".work.r", "r", f, 1);
    unsigned first = addUnit(db, ".work.first", "first", f, 2);
    unsigned second = addUnit(db, ".work.second", "second", f, 3);
    unsigned same = db.objNames.insert("u");
    db.unitAttrs.at(root).insts = {inst(first, same, f, 10), inst(second, same, f, 11)};
    HADLDatabaseConstAPI api(db);
    std::vector<unsigned> order;
    EXPECT_EQ(api.walkUnitTree(root,
                               [&](const HADLDatabaseConstAPI::UnitVisitContext& c) {
                                   order.push_back(c.unitId);
                                   return 0;
                               }),
              0);
    EXPECT_EQ(order, (std::vector<unsigned>{root, first, second}));
    int visits = 0;
    EXPECT_EQ(api.walkUnitTree(root,
                               [&](const HADLDatabaseConstAPI::UnitVisitContext& c) {
                                   ++visits;
                                   return c.depth == 1 ? 7 : 0;
                               }),
              7);
    EXPECT_EQ(visits, 2);
}

TEST(HADLDatabaseDumpTest, NoTopsPrintsNothingAndBadFileFails) {
    HADLDatabase db;
    EXPECT_EQ(printed(db, true), "");
    HADLDatabaseConstAPI api(db);
    EXPECT_EQ(api.print("/nonexistent-dir/out.txt"), -1);
    EXPECT_EQ(api.printHierTree("/nonexistent-dir/out.txt"), -1);
}

TEST(HADLDatabaseDumpTest, ShortParallelTableFailsMidwayAndKeepsWhatWasWritten) {
    HADLDatabase db;
    db.insertFileName("a.v", 2, "work");
    db.fileAttrs.resize(1); // shorter than fileNames
    std::ostringstream sink;
    std::string path = tempPath("dump_short.txt");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    bool threw = false;
    try {
        HADLDatabaseConstAPI(db).print(path);
    } catch (const char* what) {
        threw = std::string(what) == "out_of_range";
    }
    std::string out = testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(threw);
    EXPECT_NE(out.find("Out of range access at 1 (range 0..0"), std::string::npos);
    std::string partial = readFile(path);
    std::remove(path.c_str());
    EXPECT_EQ(partial.rfind("fileNames : {\n  1 : a.v\n}\nfileAttrs : {\n  1 : ", 0), 0u);
}
