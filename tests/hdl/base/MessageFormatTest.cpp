#include "hdl/base/MessageFormat.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "hdl/base/Message.h"

using namespace hdl;
using message_format::ArgumentCount;
using message_format::FormatFits;

namespace {
enum Plain { kPlainValue };
struct NotPrintable {};
} // namespace

// The check is what keeps a catalogue text and its call sites in step: each rule is
// proved at compile time and again at run time, where a failure names the case.
TEST(MessageFormat, ConversionsTakeArgumentsOfTheirKind) {
    static_assert(FormatFits<>("no conversions, 100%% sure"));
    static_assert(FormatFits<const char*, int>("'%s' is not permitted (%d)"));
    EXPECT_TRUE((FormatFits<char*, unsigned>("%s %u")));
    EXPECT_TRUE((FormatFits<char, short, bool, Plain>("%c %d %d %x"))); // promoted to int
    EXPECT_TRUE((FormatFits<size_t, size_t, long, long long, unsigned long long>("%zu %lu %ld %lld %llx")));
    EXPECT_TRUE((FormatFits<double, float>("%.3f %g")));
    EXPECT_TRUE((FormatFits<int, const char*>("%-*s")));
    EXPECT_TRUE((FormatFits<int, int, const char*>("%*.*s")));
    EXPECT_TRUE((FormatFits<const void*, const char*>("%p %p")));
    EXPECT_TRUE((FormatFits<unsigned>("%08X")));
}

TEST(MessageFormat, MisfitsAreRejected) {
    static_assert(!FormatFits<const char*>("%s %s"));
    EXPECT_FALSE((FormatFits<const char*, const char*>("%s"))); // one too many
    EXPECT_FALSE((FormatFits<const char*>("%s %s"))); // one too few
    EXPECT_FALSE((FormatFits<int>("%s"))); // an int for a string
    EXPECT_FALSE((FormatFits<std::string>("%s"))); // a string object
    EXPECT_FALSE((FormatFits<const char*>("%d"))); // a string for an int
    EXPECT_FALSE((FormatFits<size_t>("%u"))); // a size for an int
    EXPECT_FALSE((FormatFits<int>("%zu"))); // an int for a size
    EXPECT_FALSE((FormatFits<long long>("%ld"))); // the sizes name types
    EXPECT_FALSE((FormatFits<double>("%d")));
    EXPECT_FALSE((FormatFits<NotPrintable>("%d")));
    EXPECT_FALSE((FormatFits<const char*>("%*s"))); // the width wants an int
    EXPECT_FALSE((FormatFits<int*>("%n"))); // not a conversion we allow
    EXPECT_FALSE((FormatFits<const char*>("%ls")));
    EXPECT_FALSE((FormatFits<long double>("%Lf")));
    EXPECT_FALSE((FormatFits<>("ends in %")));
}

TEST(MessageFormat, ArgumentCountOfAFormat) {
    EXPECT_EQ(ArgumentCount("plain"), 0);
    EXPECT_EQ(ArgumentCount("100%% of %s"), 1);
    EXPECT_EQ(ArgumentCount("%s: option -%s expected an integer (near '%s')"), 3);
    EXPECT_EQ(ArgumentCount("%-*s : %s"), 3);
    EXPECT_EQ(ArgumentCount("%zu deep, %zu in all"), 2);
    EXPECT_EQ(ArgumentCount("%q"), -1);
    EXPECT_EQ(ArgumentCount("trailing %"), -1);
}

namespace {
constexpr MessageText kProbe{{"TEST-1", MSG_WARNING}, "probe %s %u"};
std::string told;
msg_type_t toldType = MSG_NONE;
void collect(msg_type_t type, const char* id, const ColLineFile*, const char* format, va_list args) {
    char buf[128];
    std::vsnprintf(buf, sizeof buf, format, args);
    told = std::string(id) + " " + buf;
    toldType = type;
}
} // namespace

TEST(MessageFormat, TellUsesTheCataloguesIdTypeAndFormat) {
    Message::RegisterCallBackMsg(collect);
    Message::Tell<kProbe>(nullptr, "x", 7u);
    EXPECT_EQ(told, "TEST-1 probe x 7");
    EXPECT_EQ(toldType, MSG_WARNING);
    Message::TellAs<kProbe>(MSG_ERROR, nullptr, "y", 8u);
    EXPECT_EQ(told, "TEST-1 probe y 8");
    EXPECT_EQ(toldType, MSG_ERROR);
    Message::RegisterCallBackMsg(nullptr);
    Message::ClearErrorCount();
}
