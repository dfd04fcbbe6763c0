#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "VhdlTestUtil.h"
#include "hdl/vhdl/VhdlLexer.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {
namespace {

struct Lexed {
    std::string text;
    std::vector<VhdlTok> toks;
    std::vector<std::string> spellings;
    std::vector<unsigned> kinds;
};

Lexed Lex(const std::string& text, unsigned mode = VHDL_2008, bool ignorePragmas = false) {
    Lexed out;
    out.text = text;
    VhdlLexer lexer(out.text, 1, mode);
    lexer.SetIgnorePragmas(ignorePragmas);
    out.toks = lexer.Tokenize();
    for (const auto& t : out.toks) {
        if (t.kind == VHDL_EOF) break;
        out.spellings.emplace_back(lexer.Text(t));
        out.kinds.push_back(t.kind);
    }
    return out;
}

TEST(VhdlLexer, KeywordsDependOnEdition) {
    EXPECT_EQ(Lex("xnor", VHDL_87).kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("xnor", VHDL_93).kinds[0], VHDL_XNOR);
    EXPECT_EQ(Lex("protected", VHDL_93).kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("protected", VHDL_2K).kinds[0], VHDL_PROTECTED);
    EXPECT_EQ(Lex("context", VHDL_2K).kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("CONTEXT", VHDL_2008).kinds[0], VHDL_CONTEXT);
    EXPECT_EQ(Lex("view", VHDL_2008).kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("view", VHDL_2019).kinds[0], VHDL_VIEW);
    // PSL words are names outside PSL mode.
    EXPECT_EQ(Lex("sequence", VHDL_2008).kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("sequence", VHDL_PSL).kinds[0], VHDL_SEQUENCE);
}

TEST(VhdlLexer, IdentifiersKeepTheirSpelling) {
    auto l = Lex("MyName \\Odd Name\\ \\a\\\\b\\");
    ASSERT_EQ(l.kinds.size(), 3u);
    EXPECT_EQ(l.kinds[0], VHDL_ID);
    EXPECT_EQ(l.spellings[0], "MyName");
    EXPECT_EQ(l.kinds[1], VHDL_EXTENDED_ID);
    EXPECT_EQ(l.spellings[1], "\\Odd Name\\");
    EXPECT_EQ(l.spellings[2], "\\a\\\\b\\");
    // The token points into the buffer: nothing is copied.
    EXPECT_EQ(l.toks[0].begin, 0u);
    EXPECT_EQ(l.toks[0].end, 6u);
}

TEST(VhdlLexer, AbstractLiterals) {
    auto l = Lex("1_000 16#FF# 2#1010_1010#e2 1.5e-3 8#7.4# 3E4 1ns");
    std::vector<unsigned> expect = {VHDL_INTEGER, VHDL_INTEGER, VHDL_INTEGER, VHDL_REAL,
                                    VHDL_REAL,    VHDL_INTEGER, VHDL_INTEGER, VHDL_ID};
    EXPECT_EQ(l.kinds, expect);
    EXPECT_EQ(l.spellings[2], "2#1010_1010#e2");
    EXPECT_EQ(l.spellings[6], "1");
}

TEST(VhdlLexer, ReplacementCharactersOf1987) {
    // ':' for '#' in based literals, '!' for '|'.
    auto l = Lex("16:FF: a ! b", VHDL_87);
    std::vector<unsigned> expect = {VHDL_INTEGER, VHDL_ID, VHDL_BAR, VHDL_ID};
    EXPECT_EQ(l.kinds, expect);
    EXPECT_EQ(l.spellings[0], "16:FF:");
    // A colon after a number stays a colon otherwise.
    auto c = Lex("x : 3:");
    EXPECT_EQ(c.kinds.back(), VHDL_COLON);
}

TEST(VhdlLexer, BitStringLiteralsOfAllForms) {
    auto l = Lex("B\"1_0\" x\"F\" 12UX\"F\" 8sb\"1\" D\"12\" o\"7\" UB\"\"");
    ASSERT_EQ(l.kinds.size(), 7u);
    for (unsigned k : l.kinds) EXPECT_EQ(k, VHDL_BIT_STRING);
    EXPECT_EQ(l.spellings[2], "12UX\"F\"");
    // A name followed by a string is not a bit string unless it is a base.
    auto s = Lex("y\"1\"");
    EXPECT_EQ(s.kinds[0], VHDL_ID);
    EXPECT_EQ(s.kinds[1], VHDL_STRING);
}

TEST(VhdlLexer, CharacterLiteralsAndTicks) {
    auto l = Lex("a'b'c x := 'y'; s'length t'('0') f(x)'high");
    std::vector<std::string> expect = {"a", "'", "b", "'",   "c", "x", ":=", "'y'", ";", "s", "'",   "length",
                                       "t", "'", "(", "'0'", ")", "f", "(",  "x",   ")", "'", "high"};
    EXPECT_EQ(l.spellings, expect);
    EXPECT_EQ(l.kinds[7], VHDL_CHARACTER);
    EXPECT_EQ(l.kinds[15], VHDL_CHARACTER);
}

TEST(VhdlLexer, StringsWithDoubledQuotes) {
    auto l = Lex("\"say \"\"hi\"\"\" & \"\"");
    ASSERT_EQ(l.kinds.size(), 3u);
    EXPECT_EQ(l.spellings[0], "\"say \"\"hi\"\"\"");
    EXPECT_EQ(l.kinds[2], VHDL_STRING);
}

TEST(VhdlLexer, CommentsOfBothKinds) {
    auto l = Lex("a -- line\n/* block\n -- inner */ b /**/c");
    std::vector<std::string> expect = {"a", "b", "c"};
    EXPECT_EQ(l.spellings, expect);
    EXPECT_EQ(l.toks[1].line, 3u);
}

TEST(VhdlLexer, DelimitersOf2008) {
    auto l = Lex("?? ?= ?/= ?< ?<= ?> ?>= << >> <= => <> ** :=");
    std::vector<unsigned> expect = {VHDL_COND, VHDL_MEQ,  VHDL_MNEQ, VHDL_MLT,   VHDL_MLE, VHDL_MGT, VHDL_MGE,
                                    VHDL_LTLT, VHDL_GTGT, VHDL_LE,   VHDL_ARROW, VHDL_BOX, VHDL_POW, VHDL_VARASSIGN};
    EXPECT_EQ(l.kinds, expect);
}

TEST(VhdlLexer, TranslateOffRegionsAreSkippedUnlessIgnored) {
    std::string src = "a\n-- synthesis translate_off\nb\n-- synthesis translate_on\nc\n"
                      "-- pragma synthesis_off\nd\n-- pragma synthesis_on\ne";
    std::vector<std::string> honoured = {"a", "c", "e"};
    EXPECT_EQ(Lex(src).spellings, honoured);
    std::vector<std::string> ignored = {"a", "b", "c", "d", "e"};
    EXPECT_EQ(Lex(src, VHDL_2008, true).spellings, ignored);
}

TEST(VhdlLexer, ConditionalAnalysisDirectives) {
    test::MessageCapture capture;
    std::string src = "`if VHDL_VERSION = \"2019\" then\nnew19\n`elsif VHDL_VERSION >= \"2008\" then\nnew08\n"
                      "`else\nold\n`end\nafter";
    std::vector<std::string> v19 = {"new19", "after"};
    std::vector<std::string> v08 = {"new08", "after"};
    std::vector<std::string> v93 = {"old", "after"};
    EXPECT_EQ(Lex(src, VHDL_2019).spellings, v19);
    EXPECT_EQ(Lex(src, VHDL_2008).spellings, v08);
    EXPECT_EQ(Lex(src, VHDL_93).spellings, v93);
    EXPECT_EQ(capture.Count(MSG_ERROR), 0u) << capture.Errors();
    std::vector<std::string> nested = {"b", "d"};
    EXPECT_EQ(Lex("`if \"a\" = \"b\" then\n`if \"x\" = \"x\" then\na\n`end\n`else\nb\n`end\nd").spellings, nested);
    Lex("`warning \"careful\"\nx");
    ASSERT_FALSE(capture.All().empty());
    EXPECT_EQ(capture.All().back().id, vhdl_msg::kDirective);
}

TEST(VhdlLexer, ProtectedEnvelopeIsSkippedWithAWarning) {
    test::MessageCapture capture;
    auto l = Lex("a\n`protect begin_protected\n`protect data_block\n@#$%^\n`protect end_protected\nb");
    std::vector<std::string> expect = {"a", "b"};
    EXPECT_EQ(l.spellings, expect);
    EXPECT_EQ(capture.Count(MSG_WARNING), 1u);
}

TEST(VhdlLexer, BadInputGivesErrorsAndStops) {
    test::MessageCapture capture;
    auto l = Lex("a $ b c d \"open\ne");
    EXPECT_EQ(capture.Count(MSG_ERROR), 2u);
    EXPECT_EQ(l.spellings.back(), "e");
    Lex("a $ b \"open\nc"); // the string's error is the echo of the '$'
    EXPECT_EQ(capture.Count(MSG_ERROR), 3u);
    std::string garbage(10000, '\x01');
    auto g = Lex(garbage);
    EXPECT_TRUE(g.spellings.empty());
    EXPECT_LE(capture.Count(MSG_ERROR), 40u);
}

TEST(VhdlLexer, PositionsAreOneBasedWithEndColumns) {
    auto l = Lex("ab\n  cde");
    EXPECT_EQ(l.toks[0].line, 1u);
    EXPECT_EQ(l.toks[0].col, 1u);
    EXPECT_EQ(l.toks[0].endCol, 2u);
    EXPECT_EQ(l.toks[1].line, 2u);
    EXPECT_EQ(l.toks[1].col, 3u);
    EXPECT_EQ(l.toks[1].endCol, 5u);
}

} // namespace
} // namespace hdl

namespace hdl {
namespace {

TEST(VhdlLexer, PragmaWordsAnyCaseAndOnlyKnownPrefixes) {
    std::vector<std::string> skipped = {"a", "c"};
    EXPECT_EQ(Lex("a\n--   Synopsys   TRANSLATE_OFF\nb\n-- SYNOPSYS translate_on\nc").spellings, skipped);
    EXPECT_EQ(Lex("a\n-- rtl_synthesis off\nb\n-- rtl_synthesis on\nc").spellings, skipped);
    // `off` alone belongs to rtl_synthesis only; unknown prefixes and a lone word are comments.
    std::vector<std::string> kept = {"a", "b", "c"};
    EXPECT_EQ(Lex("a\n-- pragma off\nb\n-- pragma on\nc").spellings, kept);
    EXPECT_EQ(Lex("a\n-- vendor translate_off\nb\n-- vendor translate_on\nc").spellings, kept);
    EXPECT_EQ(Lex("a\n-- translate_off\nb\nc").spellings, kept);
    EXPECT_EQ(Lex("a\n--synthesis\nb\nc").spellings, kept);
    // The off word must be a whole word.
    EXPECT_EQ(Lex("a\n-- synthesis translate_offx\nb\nc").spellings, kept);
}

TEST(VhdlLexer, UnclosedTranslateOffWarnsAndDropsTheRest) {
    test::MessageCapture capture;
    auto l = Lex("a\n-- pragma translate_off\nb\nc");
    std::vector<std::string> expect = {"a"};
    EXPECT_EQ(l.spellings, expect);
    EXPECT_EQ(capture.Count(MSG_WARNING), 1u);
}

TEST(VhdlLexer, PslCommentsAreInformationNotTokens) {
    test::MessageCapture capture;
    auto l = Lex("a -- PSL assert always x;\nb --pslx\n");
    std::vector<std::string> expect = {"a", "b"};
    EXPECT_EQ(l.spellings, expect);
    size_t psl = 0;
    for (const auto& m : capture.All()) psl += m.id == vhdl_msg::kPslIgnored;
    EXPECT_EQ(psl, 1u); // `pslx` is not the psl word
}

TEST(VhdlLexer, PositionsAfterLineCommentsAndCommentAtEndOfFile) {
    auto l = Lex("a -- first ------------------------------\n  b --last");
    ASSERT_EQ(l.spellings.size(), 2u);
    EXPECT_EQ(l.toks[1].line, 2u);
    EXPECT_EQ(l.toks[1].col, 3u);
    EXPECT_EQ(l.toks[2].kind, static_cast<unsigned>(VHDL_EOF));
    EXPECT_EQ(l.toks[2].line, 2u);
}

TEST(VhdlLexer, KeywordLookupIsBoundedAndCaseBlind) {
    EXPECT_EQ(Lex("ArChItEcTuRe").kinds[0], VHDL_ARCHITECTURE);
    // Longer than any keyword but starting like one.
    EXPECT_EQ(Lex("architecture_of_a_very_long_name").kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("entityx").kinds[0], VHDL_ID);
    EXPECT_EQ(Lex("entit").kinds[0], VHDL_ID);
}

TEST(VhdlLexer, LatinOneLettersContinueIdentifiers) {
    auto l = Lex("caf\xe9 x\xc0y z", VHDL_93);
    std::vector<std::string> expect = {"caf\xe9", "x\xc0y", "z"};
    EXPECT_EQ(l.spellings, expect);
    EXPECT_EQ(l.kinds[0], VHDL_ID);
    // Digits and underscores continue a name; other punctuation ends it.
    auto m = Lex("a_1b.c");
    std::vector<std::string> parts = {"a_1b", ".", "c"};
    EXPECT_EQ(m.spellings, parts);
}

TEST(VhdlLexer, ProtectEnvelopeEndsOnlyAtItsEndDirective) {
    test::MessageCapture capture;
    auto l = Lex("a\n`protect begin_protected\n`protect data\nx y\n`Protect END_PROTECTED\nb");
    std::vector<std::string> expect = {"a", "b"};
    EXPECT_EQ(l.spellings, expect);
}

// Errors of tool directives count against the file's cap: microwatt's helpers.vhdl has
// none; with a stray `end before each of its lines, the first ones are told, up to the
// cap, and the tokens are the same.
TEST(VhdlLexer, DirectiveErrorsStopAtTheFileCap) {
    std::ifstream in(SIFT_SHARED_DIR "/corpus/microwatt/helpers.vhdl");
    if (!in) GTEST_SKIP() << "corpus absent";
    std::stringstream real;
    real << in.rdbuf();
    test::MessageCapture capture;
    const Lexed clean = Lex(real.str());
    EXPECT_GT(clean.spellings.size(), 1000u);
    EXPECT_EQ(capture.Count(MSG_ERROR), 0u) << capture.Errors();

    std::string broken;
    std::istringstream lines(real.str());
    for (std::string line; std::getline(lines, line);) broken += "`end\n" + line + "\n";
    EXPECT_EQ(Lex(broken).spellings, clean.spellings);
    EXPECT_EQ(capture.Count(MSG_ERROR), size_t(ErrorRecovery::kMaxErrorsPerFile));
}

} // namespace
} // namespace hdl
