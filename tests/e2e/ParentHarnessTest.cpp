// The parent's side of a run, end to end through shared memory only: the parent fills
// a database itself (the settings that have no sf option), hands it over with the
// script, and reads the result back.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "SiftProcess.h"
#include "hdl/base/Language.h"
#include "sift/database/HADLDatabaseAPI.h"

namespace {

bool shmExists(const std::string& name) {
    int fd = shm_open(name.c_str(), O_RDONLY, 0);
    if (fd < 0) return false;
    close(fd);
    return true;
}

unsigned rawUnit(const HADLDatabase& db, const char* key) { return db.rUnitNames.find(key); }

class ParentHarnessTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir = makeTempDir();
        writeFile(dir + "/top.v", "module top;\n"
                                  "`ifdef DEBUG\n  dbg u_dbg();\n`endif\n"
                                  "`ifdef WIDTH_GIVEN\n  wide u_wide();\n`endif\n"
                                  "  ext_core u_ext();\nendmodule\n"
                                  "`ifdef DEBUG\nmodule dbg; endmodule\n`endif\n");
        // The parent edited orig.v in a buffer it saved as a temporary copy.
        writeFile(dir + "/orig.v", "module stale_on_disk; endmodule\n");
        writeFile(dir + "/copy_of_orig.v", "module edited_in_buffer; endmodule\n");
        writeFile(dir + "/off.v", "module switched_off; endmodule\n");
    }
    std::string dir;
};

TEST_F(ParentHarnessTest, ParentFilledDatabaseDrivesTheSkimAndComesBack) {
    HADLDatabase in;
    unsigned top = in.insertFileName(dir + "/top.v", 2, "work");
    unsigned orig = in.insertFileName(dir + "/orig.v", 2, "work");
    unsigned copy = in.insertFileName(dir + "/copy_of_orig.v", 2, "work");
    unsigned off = in.insertFileName(dir + "/off.v", 2, "work");
    in.fileAttrs.at(orig).tempAliasId = copy;
    in.fileAttrs.at(copy).isAliasOfId = orig;
    in.fileAttrs.at(off).isDisabled = true;
    in.addMacro("DEBUG", "1");
    in.addMacro("WIDTH_GIVEN", nullptr);
    in.addGeneric("DEPTH", "16");
    in.addNonHdlModule("ext_core");

    const std::string inShm = "/" + uniqueName("sift_in");
    const std::string outShm = "/" + uniqueName("sift_out");
    ASSERT_EQ(HADLDatabaseConstAPI(in).serialize(inShm), 0);
    // The script names its objects without the slash, as a parent may.
    const std::string scriptName = uniqueName("sift_script");
    ShmScript script(scriptName, "sf -skip_std_vhdl_libs\nsf -deserialize " + inShm.substr(1) +
                                     "\nsf -skim\nsf -serialize " + outShm.substr(1) + "\n");
    SiftResult r = runSift(scriptName.c_str());
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_FALSE(shmExists(inShm)) << "the reader of a handed-over database removes it";

    HADLDatabase out;
    ASSERT_EQ(HADLDatabaseAPI(out).deserialize(outShm), 0);
    EXPECT_FALSE(shmExists(outShm));

    // What the parent set travels through unchanged.
    EXPECT_EQ(out.fileAttrs.at(orig).tempAliasId, copy);
    EXPECT_EQ(out.fileAttrs.at(copy).isAliasOfId, orig);
    EXPECT_TRUE(out.fileAttrs.at(off).isDisabled);
    ASSERT_EQ(out.macroNames.find("DEBUG"), 1u);
    EXPECT_STREQ(out.macroValues.getString(out.macroDefs.at(1).valueId), "1");
    EXPECT_FALSE(out.macroDefs.at(out.macroNames.find("WIDTH_GIVEN")).hasValue);
    EXPECT_STREQ(out.genericValues.getString(out.genericDefs.at(out.genericNames.find("DEPTH")).valueId), "16");
    EXPECT_NE(out.nonHdlModuleNames.find("ext_core"), 0u);

    // ... and steered the skim: both macros are defined, the alias is read in place of
    // the original, and the disabled file is left out.
    EXPECT_NE(rawUnit(out, ".work.dbg"), 0u);
    EXPECT_NE(rawUnit(out, ".work.edited_in_buffer"), 0u);
    EXPECT_EQ(rawUnit(out, ".work.stale_on_disk"), 0u);
    EXPECT_EQ(rawUnit(out, ".work.switched_off"), 0u);
    unsigned topUnit = rawUnit(out, ".work.top");
    ASSERT_NE(topUnit, 0u);
    EXPECT_EQ(out.rUnitAttrs.at(topUnit).insts.size(), 3u) << "dbg, wide and ext_core";
    EXPECT_NE(out.fileNames.find((dir + "/top.v").c_str()), 0u);
    bool topOrdered = false;
    for (unsigned id : out.parseOrder) topOrdered = topOrdered || id == top;
    EXPECT_TRUE(topOrdered);
}

TEST_F(ParentHarnessTest, MissingHandOverKeepsTheScriptGoing) {
    const std::string outShm = "/" + uniqueName("sift_out");
    const std::string name = uniqueName("sift_script3");
    ShmScript named(name, "sf -deserialize /no_such_object_for_sift\nsf -add_v2k " + dir + "/top.v\nsf -serialize " +
                              outShm + "\n");
    SiftResult r = runSift(("/" + name).c_str());
    ASSERT_EQ(r.status, 0) << r.out;
    HADLDatabase out;
    ASSERT_EQ(HADLDatabaseAPI(out).deserialize(outShm), 0);
    EXPECT_NE(out.fileNames.find((dir + "/top.v").c_str()), 0u);
}

// A message without location in a run of VHDL alone (a generic of the parent's map
// that no top has) is kept with the file the run read last, and only when the map is
// wrong: the same map with the generic spelt right tells nothing.
TEST_F(ParentHarnessTest, AMessageWithoutLocationIsKeptInARunOfVhdlAlone) {
    writeFile(dir + "/fifo.vhd", "entity fifo is generic (DEPTH : positive := 4); end entity;\n"
                                 "architecture rtl of fifo is begin end architecture;\n");
    auto run = [&](const char* generic) {
        HADLDatabase in;
        in.insertFileName(dir + "/fifo.vhd", hdl::LANG_VHDL08, "work");
        in.addGeneric(generic, "16");
        const std::string db = dir + "/in.db", out = dir + "/out.db";
        EXPECT_EQ(HADLDatabaseConstAPI(in).save(db), 0);
        writeFile(dir + "/run.tcl", "sf -load " + db + "\nsf -skim\nsf -parse\nsf -elab\nsf -save " + out + "\n");
        setenv("LOOM_DATADIR", SIFT_DATA_DIR, 1);
        SiftResult r = runSift((dir + "/run.tcl").c_str());
        EXPECT_EQ(r.status, 0) << r.out;
        HADLDatabase back;
        EXPECT_EQ(HADLDatabaseAPI(back).load(out), 0);
        std::string told;
        const unsigned file = back.fileNames.find((dir + "/fifo.vhd").c_str());
        for (unsigned f = 1; f < back.fileMsgs.size(); ++f)
            for (const HADLDatabase::Msg& m : back.fileMsgs.at(f))
                if (m.type != 4)
                    told += (f == file ? std::string("fifo.vhd") : back.fileNames.getString(f)) + ":" +
                            std::to_string(m.line) + " " + back.fmtStrs.getString(m.fmtId) + "\n";
        return told;
    };
    EXPECT_EQ(run("DEPTH"), "");
    EXPECT_EQ(run("DEPHT"), "fifo.vhd:1 no top has a generic '%s'\n");
}

} // namespace
