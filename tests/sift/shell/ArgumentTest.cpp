// Value parsing of each argument class: numbers, flags, lists, maps.
#include <gtest/gtest.h>

#include "MessageRecorder.h"
#include "sift/shell/Command.h"
#include "sift/shell/ListArguments.h"
#include "sift/shell/MapArguments.h"

using namespace hdl;

namespace {

class ArgumentTest : public ::testing::Test {
protected:
    ArgumentTest() : cmd("tst", nullptr) {
        cmd.Add(std::make_unique<IntArg>("verbosity", "<level>", true, 0, -1));
        cmd.Add(std::make_unique<DoubleArg>("scale", "<x>", true, 0, 1.5));
        cmd.Add(std::make_unique<BoolArg>("flag", "", true, 0));
        cmd.Add(std::make_unique<BoolArg>("tf", "", true, 0, true, true));
        cmd.Add(std::make_unique<StringArg>("name", "<n>", true, 0, "dflt"));
        cmd.Add(std::make_unique<ArrayOfArrayArg>("groups", "<lists>", true, 0));
        cmd.Add(std::make_unique<ArrayArgWithOption>("opts", "<values>", true, 0));
        cmd.Add(std::make_unique<MapArg>("map", "<pairs>", true, 0, true));
        cmd.Add(std::make_unique<MapArg>("single", "<pair>", true, 0, false));
        cmd.Add(std::make_unique<MapOfArrayArg>("lists", "<pairs>", true, 0, true));
        cmd.Add(std::make_unique<ArrayArg>("", "<words>", true, 0));
    }
    int parse(std::initializer_list<std::string> words) {
        ArgVector args(words);
        return cmd.ParseArgs(args.argc(), args.argv());
    }
    std::string lastText() const {
        return MessageRecorder::messages().empty() ? "" : MessageRecorder::messages().back().text;
    }
    MessageRecorder recorder;
    Command cmd;
};

TEST_F(ArgumentTest, IntegerNeedsWholeWord) {
    ASSERT_EQ(parse({"tst", "-verbosity", "-3"}), 1);
    EXPECT_EQ(cmd.IntValue("verbosity"), -3);
    EXPECT_EQ(parse({"tst", "-verbosity", "3x"}), 0);
    EXPECT_EQ(lastText(), "tst: option -verbosity expected an integer (near '3x')");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1010");
    EXPECT_EQ(MessageRecorder::messages().back().type, MSG_ERROR);
    ASSERT_EQ(parse({"tst"}), 1);
    EXPECT_EQ(cmd.IntValue("verbosity"), -1);
}

TEST_F(ArgumentTest, DoubleNeedsWholeWord) {
    ASSERT_EQ(parse({"tst", "-scale", "2.25"}), 1);
    EXPECT_DOUBLE_EQ(cmd.DoubleValue("scale"), 2.25);
    EXPECT_EQ(parse({"tst", "-scale", "2.x"}), 0);
    EXPECT_EQ(lastText(), "tst: option -scale expected a floating point number (near '2.x')");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1011");
    ASSERT_EQ(parse({"tst"}), 1);
    EXPECT_DOUBLE_EQ(cmd.DoubleValue("scale"), 1.5);
}

TEST_F(ArgumentTest, FlagTakesNoValueUnlessBuiltForIt) {
    ASSERT_EQ(parse({"tst", "-flag", "false"}), 1);
    EXPECT_EQ(cmd.BoolValue("flag"), 1);
    EXPECT_EQ(*cmd.ArrayValue(""), StringArray{"false"});

    ASSERT_EQ(parse({"tst", "-tf", "FaLsE"}), 1);
    EXPECT_EQ(cmd.BoolValue("tf"), 0);
    EXPECT_STREQ(cmd.Find("tf")->BoolText(), "FaLsE");
    EXPECT_FALSE(cmd.IsSet(""));

    ASSERT_EQ(parse({"tst", "-tf", "other"}), 1);
    EXPECT_EQ(cmd.BoolValue("tf"), 1);
    EXPECT_EQ(cmd.Find("tf")->BoolText(), nullptr);
    ASSERT_EQ(parse({"tst"}), 1);
    EXPECT_EQ(cmd.BoolValue("tf"), 1); // the default
    EXPECT_EQ(cmd.BoolValue("flag"), 0);
}

TEST_F(ArgumentTest, StringDefaultAndNullDefault) {
    ASSERT_EQ(parse({"tst"}), 1);
    EXPECT_STREQ(cmd.StringValue("name"), "dflt");
    ASSERT_EQ(parse({"tst", "-name", ""}), 1);
    EXPECT_STREQ(cmd.StringValue("name"), "");
    StringArg noDefault("x", nullptr, true, 0);
    EXPECT_EQ(noDefault.StringValue(), nullptr);
}

TEST_F(ArgumentTest, ArrayOfArraysSplitsTwice) {
    ASSERT_EQ(parse({"tst", "-groups", "{a b} c", "-groups", "{{d e} f}"}), 1);
    const ArrayOfArrays expected{{"a", "b"}, {"c"}, {"d e", "f"}};
    EXPECT_EQ(*cmd.ArrayOfArrayValue("groups"), expected);
    EXPECT_EQ(parse({"tst", "-groups", "{a {b}"}), 0);
}

TEST_F(ArgumentTest, ArrayWithOptionKeepsOptionBesideValues) {
    ASSERT_EQ(parse({"tst", "-opts", "x y"}), 1);
    Argument* opts = cmd.Find("opts");
    EXPECT_TRUE(opts->IsArray());
    EXPECT_TRUE(opts->IsArrayWithOption());
    EXPECT_EQ(opts->TypeCode(), ARRAY_WITH_OPTION_ARG);
    opts->SetOption("mode", "fast");
    EXPECT_STREQ(opts->OptionName(), "mode");
    EXPECT_STREQ(opts->OptionValue(), "fast");
    EXPECT_EQ(*opts->ArrayOfOptionValue(), (StringArray{"x", "y"}));
}

TEST_F(ArgumentTest, MapPairFromTwoWordsOrOneList) {
    ASSERT_EQ(parse({"tst", "-map", "k", "v w"}), 1);
    EXPECT_EQ(*cmd.MapValue("map"), (StringMap{{"k", "v w"}}));
    ASSERT_EQ(parse({"tst", "-map", "{k v}"}), 1);
    EXPECT_EQ(*cmd.MapValue("map"), (StringMap{{"k", "v"}}));
    ASSERT_EQ(parse({"tst", "-map", "{a 1} {b 2}"}), 1);
    EXPECT_EQ(*cmd.MapValue("map"), (StringMap{{"a", "1"}, {"b", "2"}}));
}

TEST_F(ArgumentTest, MapValueBeforeAnOptionStandsAlone) {
    ASSERT_EQ(parse({"tst", "-map", "{k v}", "-flag"}), 1);
    EXPECT_EQ(*cmd.MapValue("map"), (StringMap{{"k", "v"}}));
    EXPECT_TRUE(cmd.IsSet("flag"));
    // A dash word that names no option is the value.
    ASSERT_EQ(parse({"tst", "-map", "k", "-notanoption"}), 1);
    EXPECT_EQ(*cmd.MapValue("map"), (StringMap{{"k", "-notanoption"}}));
}

TEST_F(ArgumentTest, MapWithoutPairingFails) {
    EXPECT_EQ(parse({"tst", "-map", "k"}), 0);
    EXPECT_EQ(lastText(), "tst: map argument 'k' has no pairing");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1003");
    EXPECT_EQ(parse({"tst", "-map", "k", "-flag"}), 0);
    EXPECT_EQ(lastText(), "tst: map argument 'k' has no pairing");
    EXPECT_EQ(parse({"tst", "-map", "-k", "v"}), 0);
    EXPECT_EQ(lastText(), "tst: map argument '-k' has no pairing");
    EXPECT_EQ(parse({"tst", "-map"}), 0);
}

TEST_F(ArgumentTest, MapDashValueMustBeAList) {
    EXPECT_EQ(parse({"tst", "-map", "k", "-x {y"}), 0);
    EXPECT_EQ(lastText(), "tst: map argument '-x {y' cannot be parsed");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1004");
}

TEST_F(ArgumentTest, MapOverwriteWarnsWithOldValue) {
    ASSERT_EQ(parse({"tst", "-map", "{k 1} {k 2}"}), 1);
    EXPECT_EQ(*cmd.MapValue("map"), (StringMap{{"k", "2"}}));
    EXPECT_EQ(lastText(), "tst: option -map previously set; overwriting value '1'");
    EXPECT_EQ(MessageRecorder::messages().back().type, MSG_WARNING);
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1012");
}

TEST_F(ArgumentTest, NonRepeatableMapTakesOnePairPerCall) {
    ASSERT_EQ(parse({"tst", "-single", "k", "v"}), 1);
    EXPECT_EQ(parse({"tst", "-single", "{a 1} {b 2}"}), 0);
    EXPECT_EQ(lastText(), "tst: option -single was already specified");
}

TEST_F(ArgumentTest, MapOfArraysTakesElementsBehindKey) {
    ASSERT_EQ(parse({"tst", "-lists", "k", "a b c"}), 1);
    EXPECT_EQ(*cmd.MapOfArrayValue("lists"), (ArrayMap{{"k", {"a", "b", "c"}}}));
    ASSERT_EQ(parse({"tst", "-lists", "{k x y} {m z}"}), 1);
    EXPECT_EQ(*cmd.MapOfArrayValue("lists"), (ArrayMap{{"k", {"x", "y"}}, {"m", {"z"}}}));
    EXPECT_EQ(parse({"tst", "-lists", "k", "{x"}), 0);
    EXPECT_EQ(lastText(), "tst: map argument '{x' cannot be parsed");
}

TEST_F(ArgumentTest, AggregatesAreNullWhenNotSet) {
    ASSERT_EQ(parse({"tst", "-map", "k", "v"}), 1);
    ASSERT_EQ(parse({"tst"}), 1);
    EXPECT_EQ(cmd.MapValue("map"), nullptr);
    EXPECT_EQ(cmd.MapOfArrayValue("lists"), nullptr);
    EXPECT_EQ(cmd.ArrayOfArrayValue("groups"), nullptr);
    EXPECT_EQ(cmd.Find("opts")->ArrayOfOptionValue(), nullptr);
}

TEST_F(ArgumentTest, CloneCopiesValueAndKind) {
    ASSERT_EQ(parse({"tst", "-map", "k", "v"}), 1);
    std::unique_ptr<Argument> copy = cmd.Find("map")->Clone();
    EXPECT_EQ(copy->TypeCode(), MAP_ARG);
    EXPECT_EQ(*copy->MapValue(), (StringMap{{"k", "v"}}));
    EXPECT_EQ(copy->name, "map");
}

TEST_F(ArgumentTest, GettersOfOtherKindsAnswerNothing) {
    Argument* flag = cmd.Find("flag");
    EXPECT_EQ(flag->IntValue(), 0);
    EXPECT_EQ(flag->StringValue(), nullptr);
    EXPECT_EQ(flag->ArrayValue(), nullptr);
    EXPECT_EQ(flag->SetValue("k", "v"), 0);
    EXPECT_FALSE(flag->IsMap());
    EXPECT_TRUE(flag->IsBool());
}

} // namespace
