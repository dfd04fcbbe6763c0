#include "hdl/base/TextRuns.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

using namespace hdl::textruns;

size_t plainNameEnd(const char* data, size_t p, size_t n, bool dollar) {
    auto isName = [&](unsigned char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
               (dollar && c == '$');
    };
    while (p < n && isName(static_cast<unsigned char>(data[p]))) ++p;
    return p;
}

// The first of `stops` or the NUL byte.
size_t plainFind(const char* data, size_t p, size_t n, const char* stops) {
    while (p < n && data[p] != '\0' && !std::strchr(stops, data[p])) ++p;
    return p;
}

// Every start in texts of every length up to a few wide steps, from an alphabet that
// holds the edges of each class: neighbours of the ranges (@ [ ` { / :), bytes that
// differ from a letter only in bit 5 or in the top bit, and Latin-1 letters, which
// are name characters in VHDL only.
TEST(TextRuns, AgreeWithByteLoopsAtEveryStart) {
    const std::string alphabet =
        std::string("  \t\n\r\v\f\x08\x0e\x1f!aAzZ09_$@[`{/:\x7f") + "\x80\xa0\xc1\xe1\xff" + std::string(1, '\0');
    std::mt19937 rng(7);
    for (int round = 0; round < 3000; ++round) {
        size_t n = rng() % 70;
        // Exactly n bytes, so that a read past the end shows under the address sanitiser;
        // a run-friendly byte fills the rest of each call's view of the buffer.
        std::unique_ptr<char[]> data(new char[n + 1]);
        bool runs = rng() % 2;
        for (size_t i = 0; i < n; ++i) {
            // Long runs of one class as well as mixtures.
            const char* pool = runs ? (round % 2 ? "Zz_" : "ab_9$") : nullptr;
            data[i] = pool && rng() % 8 ? pool[rng() % std::char_traits<char>::length(pool)]
                                        : alphabet[rng() % alphabet.size()];
        }
        for (size_t p = 0; p <= n; ++p) {
            ASSERT_EQ(nameEnd<true>(data.get(), p, n), plainNameEnd(data.get(), p, n, true))
                << "at " << p << " of " << n;
            ASSERT_EQ(nameEnd<false>(data.get(), p, n), plainNameEnd(data.get(), p, n, false)) << p;
            ASSERT_EQ((findAnyOf<'@', '/', '`', '\0'>(data.get(), p, n)), plainFind(data.get(), p, n, "@/`")) << p;
        }
    }
}

// A run stops at the end given even where the bytes after it would continue it.
TEST(TextRuns, StopAtTheGivenEnd) {
    const std::string names(40, 'x');
    for (size_t n = 0; n <= 40; ++n) EXPECT_EQ(nameEnd<true>(names.data(), 0, n), n);
    EXPECT_EQ(nameEnd<false>(names.data(), 41, 40), 41u); // a start past the end is left alone
}

} // namespace
