// Sources with IEEE 1735 envelopes, made at test time with the openssl command line:
// read where the key ring holds a key, reported where not, and what an envelope
// protects never reaches a message, the printed output or the database.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <boost/filesystem.hpp>

#include "EnvelopeMaker.h"
#include "SiftProcess.h"
#include "sift/database/HADLDatabaseAPI.h"

namespace {

struct ScanRun {
    SiftResult result;
    HADLDatabase db;
    std::string dump; // sf -print
    // Message texts of a file, with their lines and types: "line type text".
    std::vector<std::string> messages(const std::string& path) const {
        std::vector<std::string> out;
        unsigned file = db.fileNames.find(path.c_str());
        if (!file || file >= db.fileMsgs.size()) return out;
        for (const HADLDatabase::Msg& m : db.fileMsgs.at(file)) {
            std::string text = db.fmtStrs.getString(m.fmtId);
            for (unsigned arg : m.args) text += std::string(" |") + db.argStrs.getString(arg);
            out.push_back(std::to_string(m.line) + " " + std::to_string(m.type) + " " + text);
        }
        return out;
    }
    // A unit that the skim found declared in a file (not only referred to).
    bool hasUnit(const std::string& key) const {
        unsigned id = db.rUnitNames.find(key.c_str());
        if (!id || id >= db.rUnitAttrs.size()) return false;
        for (unsigned file : db.rUnitAttrs.at(id).fileIds)
            if (file) return true;
        return false;
    }
};

class ProtectedSource : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        maker = new EnvelopeMaker;
        maker->key("acme");
        maker->key("vendor");
        boost::filesystem::remove(maker->ring() + "/vendor.pem");
    }
    static void TearDownTestSuite() {
        delete maker;
        maker = nullptr;
    }

    // Skims and parses the files (language option, path) with or without the key ring.
    static ScanRun run(const std::vector<std::pair<std::string, std::string>>& files, bool withRing) {
        std::string script = "sf -verbosity 3\n";
        for (const auto& [option, path] : files) script += "sf " + option + " work " + path + "\n";
        const std::string out = maker->dir + "/out.db";
        const std::string dump = maker->dir + "/dump.txt";
        script += "sf -skim\nsf -parse\nsf -save " + out + "\nsf -print " + dump + "\n";
        writeFile(maker->dir + "/run.tcl", script);
        if (withRing) ::setenv("LOOM_KEYRING", maker->ring().c_str(), 1);
        else ::unsetenv("LOOM_KEYRING");
        ScanRun r;
        r.result = runSift((maker->dir + "/run.tcl").c_str());
        ::unsetenv("LOOM_KEYRING");
        EXPECT_EQ(r.result.status, 0) << r.result.out;
        EXPECT_EQ(HADLDatabaseAPI(r.db).load(out), 0);
        std::ifstream in(dump);
        std::stringstream s;
        s << in.rdbuf();
        r.dump = s.str();
        return r;
    }
    static bool contains(const std::vector<std::string>& all, const std::string& what) {
        for (const std::string& s : all)
            if (s.find(what) != std::string::npos) return true;
        return false;
    }

    static inline EnvelopeMaker* maker = nullptr;
};

const std::string kVerilogHead = "module top;\n  secret_core u();\nendmodule\n";
const std::string kVerilogBody = "module secret_core;\n  wire w;\n  assign w = 1'b0;\nendmodule\n";
const std::string kVhdlHead = "entity top is\nend entity;\n";
const std::string kVhdlBody = "entity secret_core is\nend entity;\narchitecture rtl of secret_core is\nbegin\nend;\n";

TEST_F(ProtectedSource, KeyedEnvelopeIsReadClearTextAlwaysIs) {
    const std::string v = maker->protect("a.v", kVerilogHead + kVerilogBody, {"vendor", "acme"}, "--keep-head 3");
    const std::string vhd =
        maker->protect("a.vhd", kVhdlHead + kVhdlBody, {"acme"}, "--keep-head 2 --style vhdl --method aes256-cbc");
    ScanRun keyed = run({{"-add_svlib", v}, {"-add_vhdl93", vhd}}, true);
    EXPECT_TRUE(keyed.hasUnit(".work.top"));
    EXPECT_TRUE(keyed.hasUnit(".work.secret_core"));
    EXPECT_TRUE(keyed.hasUnit("/work/top"));
    EXPECT_TRUE(keyed.hasUnit("/work/secret_core/rtl"));
    for (const std::string& m : keyed.messages(v)) EXPECT_EQ(m.find(" 1 "), std::string::npos) << m;
    for (const std::string& m : keyed.messages(vhd)) EXPECT_EQ(m.find(" 1 "), std::string::npos) << m;

    ScanRun closed = run({{"-add_svlib", v}, {"-add_vhdl93", vhd}}, false);
    EXPECT_TRUE(closed.hasUnit(".work.top"));
    EXPECT_TRUE(closed.hasUnit("/work/top"));
    EXPECT_FALSE(closed.hasUnit(".work.secret_core"));
    EXPECT_FALSE(closed.hasUnit("/work/secret_core/rtl"));
    // Once per file, at the envelope's line, although the skim and the parse both read it.
    EXPECT_EQ(closed.messages(v).front(), "4 1 @56-286@cannot read the protected region at line 4 of " + v +
                                              ": no key ring is given (LOOM_KEYRING is not set)");
    EXPECT_EQ(closed.messages(vhd).front(), "3 1 @56-286@cannot read the protected region at line 3 of " + vhd +
                                                ": no key ring is given (LOOM_KEYRING is not set)");
    EXPECT_TRUE(closed.db.status.isParseDone);
}

// Units read from a deciphered envelope are not written into saved libraries.
TEST_F(ProtectedSource, CompileDumpLeavesProtectedUnitsOut) {
    const std::string vhd = maker->protect("dump.vhd", kVhdlHead + kVhdlBody, {"acme"}, "--keep-head 2 --style vhdl");
    const std::string out = maker->dir + "/dumped";
    writeFile(maker->dir + "/dump.tcl", "sf -skip_std_vhdl_libs\nsf -add_vhdl93 work " + vhd +
                                            "\nsf -parse\nsf -compile_dump -outdir " + out + "\n");
    ::setenv("LOOM_KEYRING", maker->ring().c_str(), 1);
    SiftResult r = runSift((maker->dir + "/dump.tcl").c_str());
    ::unsetenv("LOOM_KEYRING");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(boost::filesystem::is_regular_file(out + "/work/top.vdb"));
    EXPECT_FALSE(boost::filesystem::exists(out + "/work/secret_core.vdb"));
    EXPECT_NE(r.out.find("cannot save unit 'secret_core' of library 'work': it comes from a protected region of " +
                         vhd + ", which is not saved"),
              std::string::npos)
        << r.out;
}

TEST_F(ProtectedSource, RightsThatDenyAnalysisKeepTheEnvelopeClosed) {
    const std::string v =
        maker->protect("b.v", kVerilogHead + kVerilogBody, {"acme"},
                       "--keep-head 3 --control 'decryption=(activity==analysis) ? \"false\" : \"true\"'");
    ScanRun r = run({{"-add_svlib", v}}, true);
    EXPECT_TRUE(r.hasUnit(".work.top"));
    EXPECT_FALSE(r.hasUnit(".work.secret_core"));
    EXPECT_TRUE(contains(r.messages(v), "1 1 @56-286@reading a protected region of " + v +
                                            " is denied by its rights (no decryption for analysis)"));
}

TEST_F(ProtectedSource, ProtectedTextIsNeverQuoted) {
    // Each text has a syntax error that quotes a word of the protected source; the
    // Verilog one also an undefined macro, which the skim reports on the output.
    const std::string veri =
        kVerilogBody + "module broken;\n  wire w = a LEAK_CANARY;\n  wire v = `LEAK_MACRO_CANARY;\nendmodule\n";
    const std::string vhdl = kVhdlBody +
                             "architecture broken of secret_core is\n  signal s : bit := LEAK_CANARY LEAK_CANARY;\n"
                             "begin\nend;\n";
    // In clear text the canary is quoted: the check below means something.
    const std::string plainV = maker->write("plain.v", kVerilogHead + veri);
    const std::string plainVhd = maker->write("plain.vhd", kVhdlHead + vhdl);
    ScanRun plain = run({{"-add_svlib", plainV}, {"-add_vhdl93", plainVhd}}, false);
    EXPECT_NE(plain.result.out.find("LEAK_MACRO_CANARY"), std::string::npos) << plain.result.out;
    EXPECT_NE(plain.dump.find("LEAK_CANARY"), std::string::npos);

    const std::string v = maker->protect("c.v", kVerilogHead + veri, {"acme"}, "--keep-head 3");
    const std::string vhd = maker->protect("c.vhd", kVhdlHead + vhdl, {"acme"}, "--keep-head 2 --style vhdl");
    ScanRun keyed = run({{"-add_svlib", v}, {"-add_vhdl93", vhd}}, true);
    EXPECT_EQ(keyed.result.out.find("CANARY"), std::string::npos) << keyed.result.out;
    EXPECT_EQ(keyed.dump.find("CANARY"), std::string::npos);
    EXPECT_NE(keyed.result.out.find("c.v(4): ERROR: Invalid code in protected region at [" + v + ":4]"),
              std::string::npos)
        << keyed.result.out;
    EXPECT_TRUE(keyed.hasUnit(".work.broken"));
    EXPECT_TRUE(contains(keyed.messages(v), "4 1 Invalid code in protected region at [%s:%s] |" + v + " |4"));
    EXPECT_TRUE(contains(keyed.messages(vhd), "3 1 Invalid code in protected region at [%s:%s] |" + vhd + " |3"));
}

TEST_F(ProtectedSource, LinesAfterAnEnvelopeAreTheFilesLines) {
    // The envelope takes more lines than the text it protects, so the view and the
    // file differ after it; the warning in clear text must carry the file's line.
    const std::string tail = "module after;\n  wire [3:0] narrow = 8'hff;\n  `undefined_macro_here\nendmodule\n";
    const std::string v = maker->protect("d.v", kVerilogBody + tail, {"acme"}, "--keep-tail 4");
    std::ifstream in(v);
    std::string line;
    unsigned lines = 0;
    unsigned macroLine = 0;
    while (std::getline(in, line)) {
        ++lines;
        if (line.find("undefined_macro_here") != std::string::npos) macroLine = lines;
    }
    ScanRun r = run({{"-add_svlib", v}}, true);
    EXPECT_TRUE(contains(r.messages(v), std::to_string(macroLine) + " 1 ")) << ::testing::PrintToString(r.messages(v));
    EXPECT_NE(r.result.out.find("d.v(" + std::to_string(macroLine) + "): ERROR"), std::string::npos) << r.result.out;
}

} // namespace
