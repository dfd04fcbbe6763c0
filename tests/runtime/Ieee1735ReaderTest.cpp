#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>

#include <boost/filesystem.hpp>

#include "EnvelopeMaker.h"
#include "runtime/Ieee1735Reader.h"
#include "runtime/LoomEnvelope1735.h"

using ieee1735::PlainView;
using ieee1735::readProtected;
using ieee1735::RightsEval;

namespace {

const std::string kHead = "// clear head\n`timescale 1ns/1ps\n";
const std::string kBody = "module secret_core(input a, output b);\n  assign b = ~a;\nendmodule\n";
const std::string kTail = "module clear_top; secret_core u(.a(1'b0), .b()); endmodule\n// end\n";

class Ieee1735Reader : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        maker = new EnvelopeMaker;
        maker->key("acme");
        maker->key("other");
        // A key whose private half the user does not hold.
        maker->key("vendor");
        boost::filesystem::remove(maker->ring() + "/vendor.pem");
    }
    static void TearDownTestSuite() {
        delete maker;
        maker = nullptr;
    }
    static std::string protect(const std::string& file, const std::vector<std::string>& keys,
                               const std::string& options = "") {
        maker->protect(file, kHead + kBody + kTail, keys, "--keep-head 2 --keep-tail 2 " + options);
        return maker->read(file);
    }
    static inline EnvelopeMaker* maker = nullptr;
};

} // namespace

TEST_F(Ieee1735Reader, OpensAnEnvelopeAndMapsItsLinesBack) {
    std::string text = protect("a.v", {"acme"});
    PlainView view = readProtected(text, maker->ring(), RightsEval::Analysis);
    EXPECT_TRUE(view.problems.empty());
    EXPECT_TRUE(view.denials.empty());
    // The begin_protected line stays as an empty line before the deciphered source.
    EXPECT_EQ(view.text, kHead + "\n" + kBody + kTail);
    unsigned endLine = 2 + static_cast<unsigned>(std::count(text.begin(), text.end(), '\n')) - 2 - 2;
    bool within = true;
    EXPECT_EQ(ieee1735::sourceLineOf(view.pieces, 2, &within), 2u);
    EXPECT_FALSE(within);
    EXPECT_EQ(ieee1735::sourceLineOf(view.pieces, 3, &within), 3u);
    EXPECT_FALSE(within);
    for (unsigned line = 4; line <= 6; ++line) {
        EXPECT_EQ(ieee1735::sourceLineOf(view.pieces, line, &within), 3u);
        EXPECT_TRUE(within);
    }
    EXPECT_EQ(ieee1735::sourceLineOf(view.pieces, 7, &within), endLine + 1);
    EXPECT_FALSE(within);
    EXPECT_EQ(ieee1735::sourceLineOf(view.pieces, 8, &within), endLine + 2);
}

TEST_F(Ieee1735Reader, VhdlStyleAes256AndOaep) {
    std::string text = protect("a.vhd", {"other"}, "--style vhdl --method aes256-cbc --oaep");
    EXPECT_NE(text.find("`protect data_method = \"aes256-cbc\""), std::string::npos);
    PlainView view = readProtected(text, maker->ring(), RightsEval::Analysis);
    EXPECT_TRUE(view.problems.empty());
    EXPECT_EQ(view.text, kHead + "\n" + kBody + kTail);
}

TEST_F(Ieee1735Reader, AnyHeldKeyOfTheEnvelopeOpensIt) {
    // The first key block is for a key the user lacks; the key file's name need not be
    // the block's key name.
    std::string text = protect("b.v", {"vendor", "acme"});
    EnvelopeMaker renamed;
    boost::filesystem::copy_file(maker->ring() + "/acme.pem", renamed.ring() + "/my_key.pem");
    renamed.write("ring/notes.pem", "not a key\n");
    // A key under a pass phrase is passed over, never asked about.
    std::string locked = "openssl pkey -in " + maker->ring() + "/acme.pem -aes256 -passout pass:secret -out " +
                         renamed.ring() + "/a_locked.pem";
    ASSERT_EQ(std::system(locked.c_str()), 0);
    PlainView view = readProtected(text, renamed.ring(), RightsEval::Analysis);
    EXPECT_TRUE(view.problems.empty());
    EXPECT_EQ(view.text, kHead + "\n" + kBody + kTail);
}

TEST_F(Ieee1735Reader, WithoutAKeyTheEnvelopeStaysAndIsNamed) {
    std::string text = protect("c.v", {"vendor"});
    PlainView noRing = readProtected(text, "", RightsEval::Analysis);
    EXPECT_EQ(noRing.text, text);
    EXPECT_TRUE(noRing.pieces.empty());
    ASSERT_EQ(noRing.problems.size(), 1u);
    EXPECT_EQ(noRing.problems[0].line, 3u);
    EXPECT_EQ(noRing.problems[0].text, "no key ring is given (LOOM_KEYRING is not set)");
    PlainView noKey = readProtected(text, maker->ring(), RightsEval::Analysis);
    EXPECT_EQ(noKey.text, text);
    ASSERT_EQ(noKey.problems.size(), 1u);
    EXPECT_EQ(noKey.problems[0].text, "no key of the key ring '" + maker->ring() + "' opens a key block (Acme/vendor)");
    PlainView missingRing = readProtected(text, maker->dir + "/absent", RightsEval::Analysis);
    EXPECT_EQ(missingRing.problems.size(), 1u);
}

TEST_F(Ieee1735Reader, DamagedOrUnsupportedEnvelopesAreNamed) {
    std::string text = protect("d.v", {"acme"});
    auto replaced = [&](const std::string& from, const std::string& to, size_t after = 0) {
        std::string t = text;
        size_t at = t.find(from, after);
        EXPECT_NE(at, std::string::npos) << from;
        return t.replace(at, from.size(), to);
    };
    auto problem = [&](const std::string& t) {
        PlainView v = readProtected(t, maker->ring(), RightsEval::Analysis);
        EXPECT_EQ(v.text, t);
        return v.problems.size() == 1 ? v.problems[0].text : std::string("(none)");
    };
    // The data cut by one base64 group (3 bytes) and announced so: no longer whole
    // cipher blocks. (A changed byte of CBC data goes unnoticed unless it spoils the
    // padding: envelopes carry no checksum of the data.)
    size_t method = text.find("data_method");
    size_t bytesAt = text.find("bytes = ", method) + 8;
    long dataBytes = std::stol(text.substr(bytesAt));
    std::string cut = text;
    size_t lastLine = cut.rfind("\n", cut.find("`pragma protect end_protected") - 2) + 1;
    cut.erase(lastLine, 4);
    cut.replace(bytesAt, std::to_string(dataBytes).size(), std::to_string(dataBytes - 3));
    EXPECT_EQ(problem(cut), "the data block does not decipher (damaged, or not enciphered with the key block's key)");
    EXPECT_EQ(problem(replaced("aes128-cbc", "des-cbc")), "data_method 'des-cbc' is not supported");
    EXPECT_EQ(problem(replaced("version = 2", "version = 3")), "envelope version 3 is not supported");
    std::string wrongSize = text;
    wrongSize.replace(bytesAt, std::to_string(dataBytes).size(), std::to_string(dataBytes + 1));
    EXPECT_EQ(problem(wrongSize), "a block holds " + std::to_string(dataBytes) + " bytes, not the " +
                                      std::to_string(dataBytes + 1) + " it announces");
    EXPECT_EQ(problem(replaced("enctype = \"base64\"", "enctype = \"uuencode\"", text.find("data_method"))),
              "encoding 'uuencode' is not supported");
    EXPECT_EQ(problem(replaced("`pragma protect end_protected\n", "")), "malformed envelope (no end_protected)");
}

TEST_F(Ieee1735Reader, RightsDecideForTheActivity) {
    std::string text = protect("e.v", {"acme"}, "--control 'decryption=(activity==analysis) ? \"false\" : \"true\"'");
    PlainView analysis = readProtected(text, maker->ring(), RightsEval::Analysis);
    EXPECT_EQ(analysis.text, text);
    ASSERT_EQ(analysis.denials.size(), 1u);
    EXPECT_EQ(analysis.denials[0].code, RightsEval::Denied);
    EXPECT_EQ(analysis.denials[0].line, 3u);
    EXPECT_TRUE(analysis.problems.empty());
    PlainView simulation = readProtected(text, maker->ring(), RightsEval::Simulation);
    EXPECT_TRUE(simulation.denials.empty());
    EXPECT_EQ(simulation.text, kHead + "\n" + kBody + kTail);
    // The key block's own right overrides the common one.
    std::string own = protect("f.v", {"acme"}, "--control 'decryption=\"false\"' --key-control 'decryption=\"true\"'");
    EXPECT_TRUE(readProtected(own, maker->ring(), RightsEval::Analysis).denials.empty());
}

TEST_F(Ieee1735Reader, StreamsShowTheViewAndTheMapAnswersForTheFile) {
    std::string path = maker->dir + "/g.v";
    protect("g.v", {"vendor"});
    std::string protectedText = maker->read("g.v");
    maker->protect("g.v", kHead + kBody + kTail, {"acme"}, "--keep-head 2 --keep-tail 2");
    std::string ring = maker->ring();
    ::setenv("LOOM_KEYRING", ring.c_str(), 1);
    auto state = LoomEnvelope1735::NeedDecrypt_Maybe;
    std::vector<int> denials;
    std::unique_ptr<std::istream> in(LoomEnvelope1735::getPlnStream(
        path, state, RightsEval::Analysis, [&](const std::string&, int code) { denials.push_back(code); }));
    std::stringstream text;
    text << in->rdbuf();
    ::unsetenv("LOOM_KEYRING");
    EXPECT_EQ(text.str(), kHead + "\n" + kBody + kTail);
    EXPECT_EQ(state, LoomEnvelope1735::NeedDecrypt_Yes);
    EXPECT_TRUE(denials.empty());
    EXPECT_TRUE(LoomEnvelopeMap1735::isWithinEnvelope(path.c_str(), 5, 0));
    EXPECT_EQ(LoomEnvelopeMap1735::getOriginalLineNo(path.c_str(), 5), 3u);
    EXPECT_FALSE(LoomEnvelopeMap1735::isWithinEnvelope(path.c_str(), 2, 0));
    EXPECT_FALSE(LoomEnvelopeMap1735::isWithinEnvelope("/elsewhere.v", 5, 0));
    EXPECT_EQ(LoomEnvelopeMap1735::getOriginalLineNo("/elsewhere.v", 5), 5u);
    // Without the key the file reads as it stands, and its old mapping is gone.
    maker->write("g.v", protectedText);
    state = LoomEnvelope1735::NeedDecrypt_Maybe;
    in.reset(LoomEnvelope1735::getPlnStream(path, state, RightsEval::Analysis, nullptr));
    text.str("");
    text << in->rdbuf();
    EXPECT_EQ(text.str(), protectedText);
    EXPECT_FALSE(LoomEnvelopeMap1735::isWithinEnvelope(path.c_str(), 5, 0));
}
