#include <gtest/gtest.h>

#include "runtime/Ieee1735Envelope.h"

using ieee1735::Envelope;
using ieee1735::findEnvelopes;

namespace {

// The shape vendors ship, with two key blocks and a common right.
const char* kVerilog = "module outside; endmodule\n"
                       "`pragma protect begin_protected\n"
                       "`pragma protect version = 2\n"
                       "`pragma protect encrypt_agent = \"Vendor\", encrypt_agent_info = \"Tool 1.0\"\n"
                       "`pragma protect control decryption = (activity==simulation) ? \"false\" : \"true\"\n"
                       "`pragma protect key_keyowner = \"Acme\", key_keyname = \"acme_2024\", key_method = \"RSA\"\n"
                       "`pragma protect control decryption = \"true\"\n"
                       "`pragma protect encoding = (enctype = \"BASE64\", line_length = 76, bytes = 3)\n"
                       "`pragma protect key_block\n"
                       "QUJD\n"
                       "\n"
                       "`pragma protect key_keyowner = \"Other\", key_keyname = \"other\", key_method = \"rsa\"\n"
                       "`pragma protect encoding = (enctype = \"base64\", line_length = 76, bytes = 2)\n"
                       "`pragma protect key_block\n"
                       "REU=\n"
                       "`pragma protect data_method = \"AES128-CBC\"\n"
                       "`pragma protect encoding = (enctype = \"base64\", line_length = 76, bytes = 4)\n"
                       "`pragma protect data_block\n"
                       "Rk\n"
                       "dISQ==\n"
                       "`pragma protect end_protected\n"
                       "module after; endmodule\n";

} // namespace

TEST(Ieee1735Envelope, ReadsKeyBlocksDataBlockAndRights) {
    std::vector<Envelope> all = findEnvelopes(kVerilog);
    ASSERT_EQ(all.size(), 1u);
    const Envelope& e = all[0];
    EXPECT_EQ(e.problem, "");
    EXPECT_EQ(e.beginLine, 2u);
    EXPECT_EQ(e.endLine, 21u);
    std::string text = kVerilog;
    EXPECT_EQ(text.substr(e.beginOffset, 7), "`pragma");
    EXPECT_EQ(text.substr(e.endOffset), "module after; endmodule\n");
    EXPECT_EQ(e.version, 2);
    ASSERT_EQ(e.controls.size(), 1u);
    EXPECT_EQ(e.controls[0].name, "decryption");
    EXPECT_EQ(e.controls[0].expression, "(activity==simulation) ? \"false\" : \"true\"");
    ASSERT_EQ(e.keys.size(), 2u);
    EXPECT_EQ(e.keys[0].owner, "Acme");
    EXPECT_EQ(e.keys[0].name, "acme_2024");
    EXPECT_EQ(e.keys[0].method, "rsa");
    EXPECT_EQ(e.keys[0].encoding.type, "base64");
    EXPECT_EQ(e.keys[0].encoding.bytes, 3);
    ASSERT_EQ(e.keys[0].controls.size(), 1u);
    EXPECT_EQ(e.keys[0].controls[0].expression, "\"true\"");
    EXPECT_EQ(e.keys[0].text, "QUJD\n\n");
    EXPECT_EQ(e.keys[1].owner, "Other");
    EXPECT_TRUE(e.keys[1].controls.empty());
    EXPECT_EQ(e.dataMethod, "aes128-cbc");
    EXPECT_EQ(e.dataEncoding.bytes, 4);
    std::string data;
    ASSERT_TRUE(ieee1735::decodeBase64(e.dataText, data));
    EXPECT_EQ(data, "FGHI");
}

TEST(Ieee1735Envelope, VhdlDirectivesInAnyCaseAndSeveralEnvelopes) {
    const char* text = "entity e is end;\n"
                       "  `PROTECT BEGIN_PROTECTED\n"
                       "`protect key_keyowner = \"Acme\"\n"
                       "`protect key_block\n"
                       "QQ==\n"
                       "`protect data_method = \"aes256-cbc\"\n"
                       "`protect data_block\n"
                       "QQ==\n"
                       "`protect end_protected\n"
                       "-- between\n"
                       "`protect begin_protected\n"
                       "`protect data_block\n"
                       "QQ==\n"
                       "`protect end_protected";
    std::vector<Envelope> all = findEnvelopes(text);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].problem, "");
    EXPECT_EQ(all[0].beginLine, 2u);
    EXPECT_EQ(all[0].endLine, 9u);
    EXPECT_EQ(all[0].dataMethod, "aes256-cbc");
    EXPECT_EQ(all[0].keys.size(), 1u);
    // Without an encoding directive the type stays open.
    EXPECT_EQ(all[0].keys[0].encoding.type, "");
    EXPECT_EQ(all[1].beginLine, 11u);
    EXPECT_EQ(all[1].endLine, 14u);
    EXPECT_EQ(all[1].endOffset, std::string(text).size());
    EXPECT_TRUE(all[1].keys.empty());
}

TEST(Ieee1735Envelope, BrokenMarkupIsNamedNotGuessed) {
    struct Case {
        const char* text;
        const char* problem;
    } cases[] = {
        {"`pragma protect begin_protected\n`pragma protect data_block\nQQ==\n", "no end_protected"},
        {"`pragma protect begin_protected\n`pragma protect end_protected\n", "no data_block"},
        {"`pragma protect begin_protected\nmodule m; endmodule\n`pragma protect data_block\nQQ==\n"
         "`pragma protect end_protected\n",
         "text outside a block at line 2"},
        {"`pragma protect begin_protected\n`pragma protect encoding = (enctype = \"base64\"\n"
         "`pragma protect data_block\nQQ==\n`pragma protect end_protected\n",
         "unreadable directive at line 2"},
        {"`pragma protect begin_protected\n`pragma protect begin_protected\n`pragma protect data_block\nQQ==\n"
         "`pragma protect end_protected\n",
         "nested begin_protected at line 2"},
        {"`pragma protect begin_protected\n`pragma protect data_block\nQQ==\n`pragma protect data_block\nQQ==\n"
         "`pragma protect end_protected\n",
         "a second data_block at line 4"},
    };
    for (const Case& c : cases) {
        std::vector<Envelope> all = findEnvelopes(c.text);
        ASSERT_EQ(all.size(), 1u) << c.text;
        EXPECT_EQ(all[0].problem, c.problem) << c.text;
    }
}

TEST(Ieee1735Envelope, OtherDirectivesAreNotEnvelopes) {
    // The input form of encryption tools, another pragma, and a word that only starts
    // like the directive.
    const char* text = "`pragma protect\n"
                       "module m; endmodule\n"
                       "`pragma protect end\n"
                       "`pragma translate_off\n"
                       "`protected_region begin_protected\n"
                       "`pragmaprotect begin_protected\n";
    EXPECT_TRUE(findEnvelopes(text).empty());
    EXPECT_TRUE(findEnvelopes("").empty());
}

TEST(Ieee1735Envelope, Base64) {
    std::string out;
    EXPECT_TRUE(ieee1735::decodeBase64("", out));
    EXPECT_EQ(out, "");
    EXPECT_TRUE(ieee1735::decodeBase64("TWFu\nTWFu\r\n TQ==", out));
    EXPECT_EQ(out, "ManManM");
    EXPECT_TRUE(ieee1735::decodeBase64("+/+/", out));
    EXPECT_EQ(out, "\xfb\xff\xbf");
    EXPECT_FALSE(ieee1735::decodeBase64("TW*u", out));
    EXPECT_FALSE(ieee1735::decodeBase64("TQ==TQ==", out)); // text after padding
    EXPECT_FALSE(ieee1735::decodeBase64("TR==", out)); // bits left over
    EXPECT_FALSE(ieee1735::decodeBase64("T", out)); // a lone character
}
