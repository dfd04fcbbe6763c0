#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "SkimProject.h"
#include "hdl/base/Message.h"
#include "sift/scan/HADLIncludeTracer.h"
#include "sift/scan/HADLInputChain.h"
#include "sift/scan/HADLNeedDecryptionCache.h"

namespace {

// Counts the messages reported while it lives, and keeps their ids.
struct MessageCount {
    static inline MessageCount* current = nullptr;
    size_t seen = 0;
    std::vector<std::string> ids;
    std::vector<std::string> texts;
    hdl::MsgCallBack previous = hdl::Message::GetCallBackMsg();
    MessageCount() {
        current = this;
        hdl::Message::RegisterCallBackMsg(
            [](hdl::msg_type_t, const char* id, const hdl::ColLineFile*, const char* format, va_list args) {
                ++current->seen;
                current->ids.push_back(id ? id : "");
                char text[512];
                std::vsnprintf(text, sizeof text, format, args);
                current->texts.push_back(text);
            });
    }
    ~MessageCount() { hdl::Message::RegisterCallBackMsg(previous); }
    size_t of(const std::string& id) const { return size_t(std::count(ids.begin(), ids.end(), id)); }
};

} // namespace

TEST(NeedDecryptionCache, PrintForm) {
    NeedDecryptionEntry e;
    e.path = "/x/ab.v";
    e.nameKey = NeedDecryptionCache::nameKeyOf(e.path);
    std::ostringstream out;
    out << e;
    EXPECT_EQ(out.str(), "ab.v****  NeedDecrypt_Maybe /x/ab.v");
    e.state = static_cast<LoomEnvelope1735::eNeedDecrypt>(7);
    out.str("");
    out << e;
    EXPECT_EQ(out.str(), "ab.v****  NeedDecrypt_Bogus7 /x/ab.v");
}

TEST(NeedDecryptionCache, FillSkipsAliasesStandardAndDisabledFiles) {
    SkimProject p;
    unsigned a = p.add("a.v", 2, "w", "");
    unsigned b = p.add("b.v", 2, "w", "");
    unsigned s = p.add("std.vhd", 9, "std", "");
    unsigned i = p.add("i.vh", 14, "w", "");
    p.db().fileAttrs.at(a).tempAliasId = b;
    p.db().fileAttrs.at(b).isAliasOfId = a;
    p.db().fileAttrs.at(s).isStdVhdl = true;
    fillNeedDecryptionCache(p.db());
    const auto& cache = NeedDecryptionCache::entries();
    ASSERT_EQ(cache.size(), 2u);
    EXPECT_EQ(cache[0].path, p.files.path("b.v"));
    EXPECT_FALSE(cache[0].isInclude);
    EXPECT_EQ(cache[1].path, p.db().fileNames.getString(i));
    EXPECT_TRUE(cache[1].isInclude);
    NeedDecryptionCache::preanalyze();
    EXPECT_EQ(cache[0].state, LoomEnvelope1735::NeedDecrypt_Maybe);
}

TEST(NeedDecryptionCache, OpenLearnsProtectionIntoTheEntry) {
    SkimProject p;
    p.add("plain_file_1.v", 2, "w", "module a; endmodule\n");
    p.add("plain_file_2.v", 2, "w", "`pragma protect begin_protected\nxx\n`pragma protect end_protected\n");
    fillNeedDecryptionCache(p.db());
    auto& cache = NeedDecryptionCache::entries();
    // Same first 8 bytes of name: only the path tells them apart.
    ASSERT_EQ(cache[0].nameKey, cache[1].nameKey);
    // The state is learnt when the text is read, not at the open alone.
    std::unique_ptr<hdl::SourceStream> s(openSourceStream(p.files.path("plain_file_2.v").c_str()));
    EXPECT_EQ(cache[1].state, LoomEnvelope1735::NeedDecrypt_Maybe);
    EXPECT_EQ(s->Remaining(), 65u);
    std::string text;
    EXPECT_TRUE(s->ReadAll(text));
    s.reset();
    EXPECT_EQ(cache[0].state, LoomEnvelope1735::NeedDecrypt_Maybe);
    EXPECT_EQ(cache[1].state, LoomEnvelope1735::NeedDecrypt_Yes);
    NeedDecryptionCache::sniffEntries(0, 2);
    EXPECT_EQ(cache[0].state, LoomEnvelope1735::NeedDecrypt_No);
}

TEST(NeedDecryptionCache, FindGivesTheFirstEntryOfAPath) {
    NeedDecryptionCache::clear();
    for (const char* path : {"/p/a.v", "/p/b.v", "/p/a.v"}) {
        NeedDecryptionEntry e;
        e.path = path;
        e.nameKey = NeedDecryptionCache::nameKeyOf(path);
        NeedDecryptionCache::add(e);
    }
    const auto& cache = NeedDecryptionCache::entries();
    EXPECT_EQ(NeedDecryptionCache::find("/p/a.v"), &cache[0]);
    EXPECT_EQ(NeedDecryptionCache::find("/p/b.v"), &cache[1]);
    EXPECT_EQ(NeedDecryptionCache::find("/q/a.v"), nullptr);
    NeedDecryptionCache::clear();
    EXPECT_EQ(NeedDecryptionCache::find("/p/a.v"), nullptr);
}

TEST(InputChain, StreamsCarryTheirNameAndMissingFilesAreNotOpen) {
    SkimProject p;
    p.write("x.v", "text");
    std::unique_ptr<hdl::SourceStream> s(openSourceStream(p.files.path("x.v").c_str()));
    auto* traced = dynamic_cast<HADLTracingInputStream*>(s.get());
    ASSERT_NE(traced, nullptr);
    EXPECT_EQ(traced->fileName, p.files.path("x.v"));
    std::string text;
    EXPECT_TRUE(s->ReadAll(text));
    EXPECT_EQ(text, "text");
    // A missing file is the reader's business (an include search tries many): no message.
    MessageCount count;
    std::unique_ptr<hdl::SourceStream> missing(openSourceStream(p.files.path("none.v").c_str()));
    EXPECT_FALSE(missing->is_open());
    std::unique_ptr<hdl::SourceStream> underFile(openSourceStream(p.files.path("x.v/y.v").c_str()));
    EXPECT_FALSE(underFile->is_open());
    EXPECT_EQ(count.seen, 0u);
}

// An include that exists but cannot be read: the skim's scanner meets it first and the
// preprocessor takes the file over; the input chain reports the failure once, the
// preprocessor its missing include once, and the rest of the file is still read.
TEST(InputChain, AnIncludeThatWillNotReadIsReportedOnce) {
    const char* unreadable = "/proc/self/mem"; // a regular file whose first read fails
    {
        std::ifstream probe(unreadable, std::ios::binary);
        char c;
        if (!probe.is_open() || probe.read(&c, 1)) GTEST_SKIP() << unreadable << " reads here";
    }
    SkimProject p;
    unsigned top = p.add("top.sv", 5, "w", std::string("`include \"") + unreadable + "\"\nmodule m; endmodule\n");
    MessageCount count;
    p.skim();
    EXPECT_EQ(count.of("VERI-1000"), 1u);
    EXPECT_EQ(count.of("VERI-1001"), 1u);
    EXPECT_EQ(count.seen, 2u);
    // Found but not readable, which the message says.
    EXPECT_NE(std::find(count.texts.begin(), count.texts.end(),
                        std::string("include file '") + unreadable + "' cannot be read"),
              count.texts.end());
    EXPECT_NE(p.rUnit(".w.m"), 0u); // the module after the include
    unsigned inc = p.db().fileNames.find(unreadable);
    ASSERT_NE(inc, 0u);
    EXPECT_EQ(p.db().fileProps.at(top).includedFiles, (HADLVectorForTuple<unsigned>{inc}));
}

// Only regular files and the null device are read: a directory fails with a message,
// a pipe with no writer must not block the run.
TEST(InputChain, ReadsOnlyRegularFilesAndTheNullDevice) {
    SkimProject p;
    std::string dir = p.files.path("adir");
    std::string fifo = p.files.path("apipe");
    ASSERT_EQ(::mkdir(dir.c_str(), 0755), 0);
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
    MessageCount count;
    for (const std::string& path : {dir, fifo}) {
        std::unique_ptr<hdl::SourceStream> s(openSourceStream(path.c_str()));
        EXPECT_FALSE(s->is_open()) << path;
    }
    EXPECT_EQ(count.seen, 2u);
    std::unique_ptr<hdl::SourceStream> null(openSourceStream("/dev/null"));
    std::string text = "kept";
    EXPECT_TRUE(null->ReadAll(text));
    EXPECT_EQ(text, "kept");
}

// The text read for the protection sniff is what the reader gets, from any position
// the reader seeks to, for files larger than any read block.
TEST(InputChain, StreamTextIsTheWholeFileAndSeekable) {
    SkimProject p;
    std::string big;
    for (int i = 0; big.size() < 200000; ++i) big += "module m" + std::to_string(i) + "; endmodule\n";
    p.write("big.v", big);
    std::unique_ptr<hdl::SourceStream> s(openSourceStream(p.files.path("big.v").c_str()));
    std::streambuf* buf = s->stream()->rdbuf();
    EXPECT_EQ(buf->pubseekoff(0, std::ios::end, std::ios::in), std::streamoff(big.size()));
    EXPECT_EQ(buf->pubseekoff(-11, std::ios::cur, std::ios::in), std::streamoff(big.size() - 11));
    EXPECT_EQ(buf->pubseekoff(1, std::ios::end, std::ios::in), std::streamoff(-1));
    EXPECT_EQ(buf->pubseekpos(7, std::ios::in), std::streamoff(7));
    std::string text;
    EXPECT_TRUE(s->ReadAll(text));
    EXPECT_EQ(text, big.substr(7));
}

// A file is read at the first look into it: until then the stream tells its size from
// the open alone, which is what a skim that replays a known header asks.
TEST(InputChain, StreamsTellTheirSizeBeforeTheyAreRead) {
    SkimProject p;
    p.write("sized.v", "module sized; endmodule\n");
    std::unique_ptr<hdl::SourceStream> s(openSourceStream(p.files.path("sized.v").c_str()));
    EXPECT_EQ(s->Remaining(), 24u);
    std::string text;
    EXPECT_TRUE(s->ReadAll(text));
    EXPECT_EQ(text, "module sized; endmodule\n");
    EXPECT_EQ(s->Remaining(), 0u);
    EXPECT_FALSE(s->fail());
    std::unique_ptr<hdl::SourceStream> null(openSourceStream("/dev/null"));
    EXPECT_EQ(null->Remaining(), 0u);
    std::unique_ptr<hdl::SourceStream> missing(openSourceStream(p.files.path("none.v").c_str()));
    EXPECT_EQ(missing->Remaining(), 0u);
    // A file outside the decryption cache is opened at the first read: one that went away
    // in between reads as a failure, reported once.
    std::string gone = p.write("gone.vh", "`define G\n");
    std::unique_ptr<hdl::SourceStream> late(openSourceStream(gone.c_str()));
    EXPECT_EQ(late->Remaining(), 10u);
    ASSERT_EQ(::unlink(gone.c_str()), 0);
    MessageCount count;
    text.clear();
    EXPECT_FALSE(late->ReadAll(text));
    EXPECT_TRUE(late->fail());
    EXPECT_EQ(count.of("VERI-1000"), 1u);
    EXPECT_EQ(count.seen, 1u);
}

TEST(InputChain, TracerRecordsNestingThroughTheStreams) {
    SkimProject p;
    unsigned top = p.add("top.v", 2, "w", "");
    std::string inc = p.write("inc.vh", "");
    HADLIncludeTracer tracer(&p.db());
    p.db().skimTracker = &tracer;
    {
        std::unique_ptr<hdl::SourceStream> outer(openSourceStream(p.files.path("top.v").c_str()));
        for (int twice = 0; twice < 2; ++twice) delete openSourceStream(inc.c_str());
        EXPECT_EQ(tracer.stack, (std::vector<unsigned>{top}));
    }
    p.db().skimTracker = nullptr;
    EXPECT_TRUE(tracer.stack.empty());
    unsigned incId = p.db().fileNames.find(inc.c_str());
    EXPECT_EQ(p.db().fileAttrs.at(incId).lang, 14u);
    EXPECT_EQ(p.db().fileProps.at(top).includedFiles, (HADLVectorForTuple<unsigned>{incId}));
    tracer.leave("never-entered.v");
    EXPECT_TRUE(tracer.stack.empty());
}

TEST(NeedDecryptionCache, SniffFindsEachProtectForm) {
    const std::pair<const char*, long> cases[] = {
        {"module a; endmodule\n", -1},
        {"x\n`protect\n", 2},
        {"ab`pragma protect begin_protected\n", 2},
        {"-- c\n  `PROTECT begin_protected\n", 7},
        {"signal protect_me : bit;\n", -1},
        {"protect begin_protected\n", -1},
        {"`pragma  protect\n", -1},
        {"`define P `protect\n", 10},
        {"`pragma once\n`pragma protect\n", 13},
        {"x = protect begin_protected;\n", -1},
        {"  protect begin_protected\n`protect\n", 26},
        {"`protect\n  protect begin_protected\n", 0},
        {"`pragma protect begin\n", 0},
        {"`Pragma protect", -1},
        {"`pragma PROTECT", -1},
    };
    for (auto [text, at] : cases) {
        std::istringstream in(text);
        EXPECT_EQ(LoomEnvelope1735::sniffOutTickProtect(in), at) << text;
    }
}

// The sniff visits backquotes only; this plain walk over each "protect", in any case,
// says what it must find. Random texts built from the pieces of the forms.
long sniffByEveryWord(std::string_view text) {
    std::string lowered(text);
    for (char& c : lowered) c = char(std::tolower(static_cast<unsigned char>(c)));
    for (size_t at = lowered.find("protect"); at != std::string::npos; at = lowered.find("protect", at + 1)) {
        if (at > 0 && text[at - 1] == '`') return long(at - 1);
        if (at >= 8 && text.substr(at - 8, 15) == "`pragma protect") return long(at - 8);
    }
    return -1;
}

TEST(NeedDecryptionCache, SniffAgreesWithAWalkOverEveryWord) {
    const char* pieces[] = {"protect",          "PROTECT", "`",  "`pragma ", "pragma", "`PRAGMA ",
                            " begin_protected", " ",       "\n", "x",        "p"};
    std::mt19937 random(7);
    size_t found = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (int n = random() % 12; n > 0; --n) text += pieces[random() % std::size(pieces)];
        std::istringstream in(text);
        long expected = sniffByEveryWord(text);
        found += expected >= 0;
        ASSERT_EQ(LoomEnvelope1735::sniffOutTickProtect(in), expected) << text;
    }
    EXPECT_GT(found, 1000u); // the pieces meet often enough to test something
}
