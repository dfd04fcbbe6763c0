#include <gtest/gtest.h>

#include <set>

#include "LexTestSupport.h"
#include "hdl/sv/VeriLexTables.h"
#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriMessageIds.h"
#include "hdl/sv/VeriTokens.h"

using namespace hdl;
using hdl::test::MessageCapture;

namespace {

std::vector<VeriToken> lexAll(std::string_view text, VeriKeywordSet set = VERI_KW_SV2012) {
    VeriLexer lx(text, {VeriTextOrigin{0, 7, 1, 1}});
    lx.setKeywordSet(set);
    std::vector<VeriToken> out;
    for (VeriToken t = lx.lex(); t.kind != VT_EOF; t = lx.lex()) out.push_back(t);
    return out;
}

std::vector<int> kinds(std::string_view text, VeriKeywordSet set = VERI_KW_SV2012) {
    std::vector<int> out;
    for (const VeriToken& t : lexAll(text, set)) out.push_back(t.kind);
    return out;
}

} // namespace

TEST(VeriTokens, FixedNumbersMatchTheParseTreeTable) {
    EXPECT_EQ(VT_LPAREN, 259);
    EXPECT_EQ(VT_CASEX, 300);
    EXPECT_EQ(VT_COMMA, 410);
    EXPECT_EQ(VT_EQ, 412);
    EXPECT_EQ(VT_ATTR_OPEN, 426);
    EXPECT_EQ(VT_ATTR_CLOSE, 427);
    EXPECT_EQ(VT_NOSHOWCANCELLED, 448);
    EXPECT_EQ(VT_UWIRE, 449);
    EXPECT_STREQ(tokenKeyword(300), "casex");
    EXPECT_STREQ(tokenKeyword(412), "=");
    EXPECT_STREQ(tokenKeyword(421), "+:");
    for (int unused : {290, 308, 340, 396, 403, 413, 416, 420, 258, 449})
        EXPECT_STREQ(tokenKeyword(unused), "") << unused;
    EXPECT_STREQ(tokenText(VT_OVERLAP_IMP), "|->");
}

TEST(VeriTokens, EveryKeywordAndOperatorTextIsDistinct) {
    std::set<std::string> seen;
    int count = 0;
    for (int k = 0; k < VT_KIND_COUNT; ++k) {
        std::string text = tokenText(k);
        if (text.empty()) continue;
        ++count;
        EXPECT_TRUE(seen.insert(text).second) << text;
    }
    // 1800-2017 has 248 reserved words; the operators come on top.
    int keywords = 0;
    for (int k = 0; k < VT_KIND_COUNT; ++k) keywords += isKeywordKind(k) ? 1 : 0;
    EXPECT_EQ(keywords, 248);
    EXPECT_GT(count, keywords);
}

TEST(VeriLexer, KeywordSetsFollowTheLanguageRevision) {
    EXPECT_EQ(kinds("logic generate uwire", VERI_KW_1995),
              (std::vector<int>{VT_IDENTIFIER, VT_IDENTIFIER, VT_IDENTIFIER}));
    EXPECT_EQ(kinds("logic generate uwire config", VERI_KW_2001_NOCONFIG),
              (std::vector<int>{VT_IDENTIFIER, VT_GENERATE, VT_IDENTIFIER, VT_IDENTIFIER}));
    EXPECT_EQ(kinds("config uwire", VERI_KW_2005), (std::vector<int>{VT_CONFIG, VT_UWIRE}));
    EXPECT_EQ(kinds("logic checker", VERI_KW_SV2005), (std::vector<int>{VT_LOGIC, VT_IDENTIFIER}));
    EXPECT_EQ(kinds("checker soft", VERI_KW_SV2009), (std::vector<int>{VT_CHECKER, VT_IDENTIFIER}));
    EXPECT_EQ(kinds("soft nettype", VERI_KW_SV2012), (std::vector<int>{VT_SOFT, VT_NETTYPE}));
    EXPECT_EQ(veriKeywordSetOf("1364-2001-noconfig"), VERI_KW_2001_NOCONFIG);
    EXPECT_EQ(veriKeywordSetOf("1800-2017"), VERI_KW_SV2012);
    EXPECT_EQ(veriKeywordSetOf("1800-1999"), -1);
}

TEST(VeriLexer, EveryKeywordIsKnownFromItsOwnSetOn) {
    for (int k = 0; k < VT_KIND_COUNT; ++k) {
        if (!isKeywordKind(k)) continue;
        std::string word = tokenText(k);
        VeriKeywordSet first = tokenKeywordSet(k);
        EXPECT_EQ(veriKeywordKind(word, first), k) << word;
        EXPECT_EQ(veriKeywordKind(word, VERI_KW_SV2012), k) << word;
        if (first > VERI_KW_1995) {
            EXPECT_EQ(veriKeywordKind(word, VeriKeywordSet(first - 1)), VT_IDENTIFIER) << word;
        }
        // Near misses of the same length and first letter, and case, stay names.
        std::string last = word;
        last.back() = last.back() == 'q' ? 'j' : 'q';
        EXPECT_EQ(veriKeywordKind(last, VERI_KW_SV2012), VT_IDENTIFIER) << last;
        EXPECT_EQ(veriKeywordKind(word + "$", VERI_KW_SV2012), VT_IDENTIFIER) << word;
        EXPECT_NE(veriKeywordKind(word.substr(0, word.size() - 1), VERI_KW_SV2012), k) << word;
        std::string upper = word;
        upper[0] = char(upper[0] - 'a' + 'A');
        EXPECT_EQ(veriKeywordKind(upper, VERI_KW_SV2012), VT_IDENTIFIER) << upper;
        // Looked up in place, where the text after the word is read along and masked.
        const verilex::KeywordTable& table = verilex::keywordTable();
        std::string inText = word + "_x0123456789abcdef ";
        EXPECT_EQ(table.find(inText.data(), word.size(), VERI_KW_SV2012, inText.size()), k) << word;
        inText = last + "_x0123456789abcdef ";
        EXPECT_EQ(table.find(inText.data(), last.size(), VERI_KW_SV2012, inText.size()), VT_IDENTIFIER) << last;
        inText = word.substr(0, word.size() - 1) + "_x0123456789abcdef ";
        EXPECT_NE(table.find(inText.data(), word.size() - 1, VERI_KW_SV2012, inText.size()), k) << word;
    }
    EXPECT_EQ(veriKeywordKind("pulsestyle_ondetect_x", VERI_KW_SV2012), VT_IDENTIFIER);
    EXPECT_EQ(veriKeywordKind("", VERI_KW_SV2012), VT_IDENTIFIER);
}

TEST(VeriLexer, PositionsMatchACharacterCountEverywhere) {
    // Gaps of every shape between tokens: short and long blank runs with line ends at
    // all offsets of a word, comments, strings continued over a line end.
    std::string text;
    for (int i = 0; i < 40; ++i) {
        text += "w" + std::to_string(i);
        text += std::string(size_t(i % 11), ' ');
        if (i % 3 == 0) text += '\n';
        text += std::string(size_t(i % 7), '\t');
        if (i % 5 == 0) text += "\n\n" + std::string(size_t(60 + i), ' ') + "\n";
        if (i % 8 == 1) text += "/* a\n b */";
        if (i % 9 == 2) text += "\"s\\\nt\" ";
        if (i % 4 == 3) text += "+=";
    }
    auto tokens = lexAll(text);
    ASSERT_GT(tokens.size(), 40u);
    for (const VeriToken& t : tokens) {
        size_t offset = size_t(t.text.data() - text.data());
        uint32_t line = 1;
        uint32_t col = 1;
        for (size_t i = 0; i < offset; ++i) {
            line += text[i] == '\n' ? 1 : 0;
            col = text[i] == '\n' ? 1 : col + 1;
        }
        EXPECT_EQ(t.line, line) << t.text << " at " << offset;
        EXPECT_EQ(t.col, col) << t.text << " at " << offset;
    }
}

TEST(VeriLexer, IdentifierForms) {
    auto t = lexAll("a$b _x \\bus[0]  $display $ \\a+b ;");
    ASSERT_EQ(t.size(), 7u);
    EXPECT_EQ(t[0].kind, VT_IDENTIFIER);
    EXPECT_EQ(t[0].text, "a$b");
    EXPECT_EQ(t[2].kind, VT_ESCAPED_IDENTIFIER);
    EXPECT_EQ(t[2].text, "\\bus[0]");
    EXPECT_EQ(t[3].kind, VT_SYSTEM_IDENTIFIER);
    EXPECT_EQ(t[4].kind, VT_DOLLAR);
    EXPECT_EQ(t[5].text, "\\a+b");
    EXPECT_EQ(t[6].kind, VT_SEMI);
}

TEST(VeriLexer, NumberForms) {
    auto t = lexAll("42 1_000 8'hFF 8 'h ff 'b1x?z 16'sd5 4'bz_01 1.5 2e-3 1.5E+2 10ns 1step 3.2us "
                    "'0 '1 'x 'Z 'hX");
    std::vector<std::pair<int, std::string>> want = {
        {VT_DECIMAL_NUMBER, "42"},    {VT_DECIMAL_NUMBER, "1_000"}, {VT_BASED_NUMBER, "8'hFF"},
        {VT_BASED_NUMBER, "8 'h ff"}, {VT_BASED_NUMBER, "'b1x?z"},  {VT_BASED_NUMBER, "16'sd5"},
        {VT_BASED_NUMBER, "4'bz_01"}, {VT_REAL_NUMBER, "1.5"},      {VT_REAL_NUMBER, "2e-3"},
        {VT_REAL_NUMBER, "1.5E+2"},   {VT_TIME_LITERAL, "10ns"},    {VT_TIME_LITERAL, "1step"},
        {VT_TIME_LITERAL, "3.2us"},   {VT_UNBASED_UNSIZED, "'0"},   {VT_UNBASED_UNSIZED, "'1"},
        {VT_UNBASED_UNSIZED, "'x"},   {VT_UNBASED_UNSIZED, "'Z"},   {VT_BASED_NUMBER, "'hX"}};
    ASSERT_EQ(t.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) {
        EXPECT_EQ(t[i].kind, want[i].first) << i;
        EXPECT_EQ(t[i].text, want[i].second) << i;
    }
}

TEST(VeriLexer, BinaryDigitsStopAtNonBinary) {
    auto t = lexAll("2'b012");
    ASSERT_EQ(t.size(), 2u);
    EXPECT_EQ(t[0].text, "2'b01");
    EXPECT_EQ(t[1].text, "2");
}

TEST(VeriLexer, BasedNumberWithoutDigitsIsReported) {
    MessageCapture mc;
    auto t = lexAll("8'h ;");
    EXPECT_EQ(mc.count(veri_msg::kBadNumber), 1u);
    ASSERT_FALSE(t.empty());
    EXPECT_EQ(t[0].kind, VT_ERROR);
}

TEST(VeriLexer, OperatorsTakeTheLongestMatch) {
    EXPECT_EQ(kinds("<<<= >>>= <<= === !=? ==? |-> |=> <-> ->> -> ## #-# :: .* += ++ ** &&& ^~ ~^"),
              (std::vector<int>{VT_ASHL_EQ,
                                VT_ASHR_EQ,
                                VT_SHL_EQ,
                                VT_CASE_EQ,
                                VT_WILD_NEQ,
                                VT_WILD_EQ,
                                VT_OVERLAP_IMP,
                                VT_NONOVERLAP_IMP,
                                VT_EQUIV,
                                VT_NB_TRIGGER,
                                VT_ARROW,
                                VT_CYCLE_DELAY,
                                VT_FOLLOWED_BY_OVERLAP,
                                VT_SCOPE,
                                VT_DOT_STAR,
                                VT_PLUS_EQ,
                                VT_INC,
                                VT_POWER,
                                VT_TRIPLE_AND,
                                VT_XNOR_OP,
                                VT_XNOR_OP}));
    // ":/" is a distribution weight unless a comment starts at its slash.
    EXPECT_EQ(kinds("x :/ y a://c\n b:/*c*/"), (std::vector<int>{VT_IDENTIFIER, VT_COLON_SLASH, VT_IDENTIFIER,
                                                                 VT_IDENTIFIER, VT_COLON, VT_IDENTIFIER, VT_COLON}));
    // Verilog has no SystemVerilog operators: "##" is two hashes there.
    EXPECT_EQ(kinds("## ++", VERI_KW_2005), (std::vector<int>{VT_HASH, VT_HASH, VT_PLUS, VT_PLUS}));
}

TEST(VeriLexer, AttributesAndStarEventControl) {
    EXPECT_EQ(kinds("(* full_case *) @(*) @( * )"),
              (std::vector<int>{VT_ATTR_OPEN, VT_IDENTIFIER, VT_ATTR_CLOSE, VT_AT, VT_LPAREN, VT_STAR, VT_RPAREN, VT_AT,
                                VT_LPAREN, VT_STAR, VT_RPAREN}));
}

TEST(VeriLexer, ApostropheForms) {
    EXPECT_EQ(kinds("'{1,2} int'(x)"),
              (std::vector<int>{VT_APOSTROPHE_LBRACE, VT_DECIMAL_NUMBER, VT_COMMA, VT_DECIMAL_NUMBER, VT_RBRACE, VT_INT,
                                VT_APOSTROPHE, VT_LPAREN, VT_IDENTIFIER, VT_RPAREN}));
}

TEST(VeriLexer, StringsKeepEscapesAndReportOpenOnes) {
    MessageCapture mc;
    auto t = lexAll("\"a\\\"b\\n\" \"open\nx");
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].text, "\"a\\\"b\\n\"");
    EXPECT_EQ(t[1].kind, VT_STRING_LITERAL);
    EXPECT_EQ(t[1].text, "\"open");
    EXPECT_EQ(t[2].text, "x");
    EXPECT_EQ(mc.count(veri_msg::kStringOpen), 1u);
}

TEST(VeriLexer, CommentsAndPositions) {
    MessageCapture mc;
    auto t = lexAll("a // one\n  /* two\n three */ b\n\tc /* open");
    ASSERT_EQ(t.size(), 3u);
    EXPECT_EQ(t[0].line, 1u);
    EXPECT_EQ(t[0].col, 1u);
    EXPECT_EQ(t[1].line, 3u);
    EXPECT_EQ(t[1].col, 11u);
    EXPECT_TRUE(t[1].flags & VTF_FIRST_ON_LINE);
    EXPECT_EQ(t[2].line, 4u);
    EXPECT_EQ(t[2].col, 2u);
    EXPECT_EQ(t[2].fileId, 7u);
    EXPECT_EQ(mc.count(veri_msg::kCommentOpen), 1u);
}

TEST(VeriLexer, TranslateOffSkipsUntilTranslateOn) {
    MessageCapture mc;
    const char* text = "a\n// synopsys translate_off\nb \"// pragma translate_on\"\n"
                       "/* synthesis translate_on */ c\n// pragma synthesis_off\nd\n"
                       "// xilinx synthesis_on\ne";
    EXPECT_EQ(hdl::test::joined(lexAll(text)), "a c e");
    VeriLexer lx(text, {});
    lx.setIgnoreTranslateOff(true);
    int n = 0;
    while (lx.lex().kind != VT_EOF) ++n;
    EXPECT_EQ(n, 6);
    EXPECT_EQ(hdl::test::joined(lexAll("a // synthesis translate_off\nb")), "a");
    EXPECT_EQ(mc.count(veri_msg::kTranslateOffOpen), 1u);
}

TEST(VeriLexer, PragmaCommentsAreKnownByTheirFirstTwoWords) {
    using verilex::pragmaDirection;
    for (const char* tool : {"synopsys", "synthesis", "pragma", "xilinx", "cadence", "exemplar", "altera", "ambit"}) {
        std::string t = tool;
        EXPECT_EQ(pragmaDirection(" " + t + " translate_off"), 1) << t;
        EXPECT_EQ(pragmaDirection("\t" + t + "\ttranslate_on  "), -1) << t;
        EXPECT_EQ(pragmaDirection(t + " synthesis_off"), 1) << t;
        EXPECT_EQ(pragmaDirection(t + " synthesis_on"), -1) << t;
        EXPECT_EQ(pragmaDirection(t), 0) << t;
        EXPECT_EQ(pragmaDirection(t + "x translate_off"), 0) << t;
        EXPECT_EQ(pragmaDirection(t.substr(0, t.size() - 1) + " translate_off"), 0) << t;
        EXPECT_EQ(pragmaDirection(t + " translate_offx"), 0) << t;
    }
    EXPECT_EQ(pragmaDirection(""), 0);
    EXPECT_EQ(pragmaDirection("   "), 0);
    EXPECT_EQ(pragmaDirection("Synopsys translate_off"), 0);
    EXPECT_EQ(pragmaDirection("set the pragma translate_off here"), 0);
}

// A run of bad characters is one error; one within three tokens of the last is its echo.
TEST(VeriLexer, GarbageGivesOneErrorPerRun) {
    MessageCapture mc;
    std::string junk = "a \x01\x02\xff\xfe b c d";
    junk += '\0';
    junk += " e";
    auto t = lexAll(junk);
    EXPECT_EQ(hdl::test::joined(t).substr(0, 1), "a");
    EXPECT_EQ(t.back().text, "e");
    EXPECT_EQ(mc.count(veri_msg::kBadCharacter), 2u);
    MessageCapture close;
    lexAll("a \x01 b \x02 c \x03\x04 d");
    EXPECT_EQ(close.count(veri_msg::kBadCharacter), 1u);
}
