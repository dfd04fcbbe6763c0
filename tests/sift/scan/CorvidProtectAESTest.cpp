// The cipher of the precompiled libraries, checked against the openssl command line.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "hdl/vhdl/VhdlLibrary.h"
#include "sift/scan/CorvidProtectAES.h"

namespace {

std::string hex(const unsigned char* bytes, size_t n) {
    std::string out;
    char b[3];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(b, sizeof b, "%02x", bytes[i]);
        out += b;
    }
    return out;
}

// One block through `openssl enc -aes-256-cbc -nopad` with the object's key and vector.
std::string opensslBlock(const CorvidProtectAES& aes, const std::string& block) {
    std::string command =
        "printf '" + block + "' | openssl enc -aes-256-cbc -nopad -K " + hex(aes.key, 32) + " -iv " + hex(aes.iv, 16);
    FILE* p = popen(command.c_str(), "r");
    std::string out;
    char buf[64];
    for (size_t n; p && (n = std::fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
    if (p) pclose(p);
    return out;
}

} // namespace

TEST(CorvidProtectAES, EachBlockStandsByItself) {
    CorvidProtectAES aes;
    EXPECT_EQ(aes.GetBlockSize(), 16u);
    const std::string a = "0123456789abcdef";
    const std::string data = a + a + "tail0123"; // 40 bytes: two blocks and 8 more
    char out[40];
    std::memset(out, '#', sizeof out);
    EXPECT_EQ(aes.encrypt(data.data(), out, 40), 40u);
    // Equal blocks give equal ciphertext, each the one-block CBC of the command line.
    EXPECT_EQ(std::string(out, 16), std::string(out + 16, 16));
    EXPECT_EQ(std::string(out, 16), opensslBlock(aes, a));
    EXPECT_NE(std::string(out, 16), a);
    // The last 8 bytes are no whole block: untouched.
    EXPECT_EQ(std::string(out + 32, 8), "########");
    char back[40];
    std::memset(back, '#', sizeof back);
    EXPECT_EQ(aes.decrypt(out, back, 40), 40u);
    EXPECT_EQ(std::string(back, 32), a + a);
    EXPECT_EQ(std::string(back + 32, 8), "########");
    // Fewer bytes than a block: nothing is done, the count comes back.
    char small[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(aes.encrypt(small, small, 8), 8u);
    EXPECT_EQ(small[7], 8);
}

TEST(CorvidProtectAES, EnableHandsTheOneObjectToTheVhdlFrontEnd) {
    EXPECT_EQ(hdl::vhdl_file::_protect, nullptr);
    enableProtect();
    hdl::Protect* first = hdl::vhdl_file::_protect;
    ASSERT_NE(first, nullptr);
    disableProtect();
    EXPECT_EQ(hdl::vhdl_file::_protect, nullptr);
    enableProtect();
    EXPECT_EQ(hdl::vhdl_file::_protect, first);
    disableProtect();
}
