// The envelope reader's plain side: which files hold a protected region, and how files
// that cannot be read are told.
#include "runtime/LoomEnvelope1735.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

using ieee1735::RightsEval;

long sniff(const std::string& text) {
    std::istringstream in(text);
    return LoomEnvelope1735::sniffOutTickProtect(in);
}

class ScratchDir {
public:
    ScratchDir() {
        char name[] = "/tmp/loom_envelope_XXXXXX";
        dir_ = mkdtemp(name);
    }
    ~ScratchDir() { std::system(("rm -rf " + dir_).c_str()); }
    std::string write(const std::string& name, const std::string& text) const {
        std::string path = dir_ + "/" + name;
        std::ofstream(path) << text;
        return path;
    }
    const std::string& path() const { return dir_; }

private:
    std::string dir_;
};

std::vector<std::string> lateDiags;
void collectLate(const LoomEnvelope1735::EnvelopeDiag& diag) { lateDiags.push_back(diag.what()); }

} // namespace

TEST(LoomEnvelope1735, FindsTheFirstProtectDirective) {
    EXPECT_EQ(sniff("module m; endmodule\n"), -1);
    EXPECT_EQ(sniff("a\n`pragma protect begin_protected\n"), 2);
    EXPECT_EQ(sniff("`protect begin_protected"), 0);
    // VHDL tool directives ignore case.
    EXPECT_EQ(sniff("-- x\n`PROTECT BEGIN_PROTECTED\n"), 5);
    EXPECT_EQ(sniff("`define P 1\n`Protect"), 12);
    // Other directives, a bare backquote at the end, and lookalikes are no protection.
    EXPECT_EQ(sniff("`define protect 1\n`protec\n`"), -1);
    EXPECT_EQ(sniff("`pragma  protect"), -1) << "the pragma name follows one blank";
    EXPECT_EQ(sniff(""), -1);
    std::string big(1 << 16, 'x');
    EXPECT_EQ(sniff(big + "`protect"), long(big.size())) << "beyond the first block read";
}

TEST(LoomEnvelope1735, StateIsDecidedAtTheFirstRead) {
    ScratchDir d;
    const std::string plain = d.write("plain.v", "module m; endmodule\n");
    const std::string marked = d.write("marked.v", "module m;\n`pragma protect begin_protected\nendmodule\n");
    auto state = LoomEnvelope1735::NeedDecrypt_Maybe;
    std::unique_ptr<std::istream> in(LoomEnvelope1735::getPlnStream(plain, state, RightsEval::Analysis, nullptr));
    EXPECT_EQ(state, LoomEnvelope1735::NeedDecrypt_Maybe) << "nothing is read before the first use";
    std::stringstream text;
    text << in->rdbuf();
    EXPECT_EQ(text.str(), "module m; endmodule\n");
    EXPECT_EQ(state, LoomEnvelope1735::NeedDecrypt_No);
    state = LoomEnvelope1735::NeedDecrypt_Maybe;
    in.reset(LoomEnvelope1735::getPlnStream(marked, state, RightsEval::Analysis, nullptr));
    in->peek();
    EXPECT_EQ(state, LoomEnvelope1735::NeedDecrypt_Yes);
    // A state decided before is kept.
    state = LoomEnvelope1735::NeedDecrypt_No;
    in.reset(LoomEnvelope1735::getPlnStream(marked, state, RightsEval::Analysis, nullptr));
    in->peek();
    EXPECT_EQ(state, LoomEnvelope1735::NeedDecrypt_No);
}

TEST(LoomEnvelope1735, FilesThatCannotBeReadAreTold) {
    ScratchDir d;
    auto state = LoomEnvelope1735::NeedDecrypt_Maybe;
    try {
        delete LoomEnvelope1735::getPlnStream(d.path() + "/absent.v", state, RightsEval::Analysis, nullptr);
        FAIL() << "a missing file must throw";
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        EXPECT_TRUE(diag.missing);
        EXPECT_EQ(diag.path, d.path() + "/absent.v");
    }
    try {
        delete LoomEnvelope1735::getPlnStream(d.path(), state, RightsEval::Analysis, nullptr);
        FAIL() << "a directory must throw";
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        EXPECT_FALSE(diag.missing);
        EXPECT_NE(std::string(diag.what()).find("not a regular file"), std::string::npos) << diag.what();
    }
    // The null device reads as an empty file.
    state = LoomEnvelope1735::NeedDecrypt_Maybe;
    std::unique_ptr<std::istream> null(
        LoomEnvelope1735::getPlnStream("/dev/null", state, RightsEval::Analysis, nullptr));
    EXPECT_EQ(null->peek(), std::char_traits<char>::eof());
    EXPECT_EQ(state, LoomEnvelope1735::NeedDecrypt_No);
}

TEST(LoomEnvelope1735, AFileGoneBeforeItsLateReadIsToldThen) {
    ScratchDir d;
    const std::string path = d.write("gone.v", "module m; endmodule\n");
    auto state = LoomEnvelope1735::NeedDecrypt_Maybe;
    std::unique_ptr<std::istream> in(
        LoomEnvelope1735::getPlnStreamOnDemand(path, state, RightsEval::Analysis, nullptr));
    ASSERT_EQ(::unlink(path.c_str()), 0);
    lateDiags.clear();
    LoomEnvelope1735::setLateDiagHandler(collectLate);
    EXPECT_EQ(in->peek(), std::char_traits<char>::eof());
    LoomEnvelope1735::setLateDiagHandler(nullptr);
    EXPECT_TRUE(in->bad());
    ASSERT_EQ(lateDiags.size(), 1u);
    EXPECT_EQ(lateDiags[0], "cannot open " + path);
    try {
        delete LoomEnvelope1735::getPlnStreamOnDemand(path, state, RightsEval::Analysis, nullptr);
        FAIL() << "asked for after it went, the file is missing at once";
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        EXPECT_TRUE(diag.missing);
    }
}

TEST(LoomEnvelope1735, LinesOfAPlainFileMapToThemselves) {
    EXPECT_EQ(LoomEnvelopeMap1735::getOriginalLineNo("never_read.v", 17), 17u);
    EXPECT_FALSE(LoomEnvelopeMap1735::isWithinEnvelope("never_read.v", 17, 0));
}
