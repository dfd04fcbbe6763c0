// Option lookup, requirements, groups and usage of the command framework.
#include <gtest/gtest.h>

#include "MessageRecorder.h"
#include "sift/shell/Command.h"
#include "sift/shell/ListArguments.h"

using namespace hdl;

namespace {

class TestCommand : public Command {
public:
    TestCommand() : Command("tst", "a test command") {
        Add(std::make_unique<BoolArg>("print_hier", "<file>", true, 1));
        Add(std::make_unique<BoolArg>("print", "<file>", true, 1));
        Add(std::make_unique<BoolArg>("parse", "", true, 1));
        Add(std::make_unique<IntArg>("level", "<n>", true, 0, 7));
        Add(std::make_unique<StringArg>("out", "<dir>", true, 0));
        Add(std::make_unique<ArrayArg>("", "<files>", true, 0));
        Add(std::make_unique<ArrayArg>("incdir", "{ <dirs> }", true, 0));
    }
};

class CommandTest : public ::testing::Test {
protected:
    int parse(Command& cmd, std::initializer_list<std::string> words) {
        ArgVector args(words);
        return cmd.ParseArgs(args.argc(), args.argv());
    }
    MessageRecorder recorder;
    TestCommand cmd;
};

TEST_F(CommandTest, FullNameWinsOverLongerNameItPrefixes) {
    ASSERT_EQ(parse(cmd, {"tst", "-print"}), 1);
    EXPECT_TRUE(cmd.IsSet("print"));
    EXPECT_FALSE(cmd.IsSet("print_hier"));
    EXPECT_TRUE(MessageRecorder::messages().empty());
}

TEST_F(CommandTest, UniqueAbbreviationSelectsOption) {
    ASSERT_EQ(parse(cmd, {"tst", "-print_"}), 1);
    EXPECT_TRUE(cmd.IsSet("print_hier"));
    ASSERT_EQ(parse(cmd, {"tst", "-pa"}), 1);
    EXPECT_TRUE(cmd.IsSet("parse"));
    ASSERT_EQ(parse(cmd, {"tst", "-l", "3"}), 1);
    EXPECT_EQ(cmd.IntValue("level"), 3);
}

TEST_F(CommandTest, AmbiguousAbbreviationListsCandidatesInOrder) {
    EXPECT_EQ(parse(cmd, {"tst", "-prin"}), 0);
    ASSERT_EQ(MessageRecorder::messages().size(), 1u);
    const RecordedMessage& m = MessageRecorder::messages()[0];
    EXPECT_EQ(m.type, MSG_ERROR);
    EXPECT_EQ(m.id, "CMD-1001");
    EXPECT_EQ(m.text, "tst: ambiguous option -prin (possible options :  print_hier print)");
    EXPECT_EQ(parse(cmd, {"tst", "-p"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text,
              "tst: ambiguous option -p (possible options :  print_hier print parse)");
}

TEST_F(CommandTest, UniquePrefixIsLongestSharedStart) {
    EXPECT_EQ(cmd.Find("print_hier")->uniquePrefix, 5u);
    EXPECT_EQ(cmd.Find("print")->uniquePrefix, 5u);
    EXPECT_EQ(cmd.Find("parse")->uniquePrefix, 1u);
    EXPECT_EQ(cmd.Find("out")->uniquePrefix, 0u);
    EXPECT_EQ(cmd.Find("incdir")->uniquePrefix, 0u);
    EXPECT_EQ(cmd.Find("help")->uniquePrefix, 0u);
}

TEST_F(CommandTest, UnknownOptionAndNameTakenTwice) {
    EXPECT_EQ(parse(cmd, {"tst", "-zzz"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "tst: unknown option -zzz");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1002");
    EXPECT_FALSE(cmd.Add(std::make_unique<IntArg>("level", "x", true, 0)));
    EXPECT_EQ(cmd.Find("level")->IntValue(), 7);
}

TEST_F(CommandTest, WordWithoutPositionalArgumentIsRejected) {
    Command bare("bare", nullptr);
    EXPECT_EQ(parse(bare, {"bare", "stray"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "bare: expected an argument (near 'stray')");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1000");
}

TEST_F(CommandTest, PositiveGroupAllowsOneMember) {
    EXPECT_EQ(parse(cmd, {"tst", "-print", "-parse"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "tst: cannot set both options -parse and -print");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1007");
    EXPECT_EQ(parse(cmd, {"tst", "-parse", "-out", "d", "-incdir", "i"}), 1);
}

TEST_F(CommandTest, NegativeGroupNeedsOneAndAllowsSeveral) {
    Command cmd2("neg", nullptr);
    cmd2.Add(std::make_unique<BoolArg>("a", "", false, -2));
    cmd2.Add(std::make_unique<BoolArg>("b", "", false, -2));
    EXPECT_EQ(parse(cmd2, {"neg", "-a", "-b"}), 1);
    EXPECT_EQ(parse(cmd2, {"neg", "-b"}), 1);
    EXPECT_EQ(parse(cmd2, {"neg"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "neg: option -a needs to be specified");
}

TEST_F(CommandTest, RequiredArgumentsAndHelp) {
    Command req("req", nullptr);
    req.Add(std::make_unique<StringArg>("name", "<n>", false, 0));
    req.Add(std::make_unique<ArrayArg>("", "<files>", false, 0));
    EXPECT_EQ(parse(req, {"req", "f"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "req: option -name needs to be specified");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1005");
    EXPECT_EQ(parse(req, {"req", "-name", "x"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "req: command expects an argument");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1006");
    EXPECT_EQ(parse(req, {"req", "-help"}), 1);
}

TEST_F(CommandTest, RepeatedScalarOptionFails) {
    EXPECT_EQ(parse(cmd, {"tst", "-level", "1", "-level", "2"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "tst: option -level was already specified");
    EXPECT_EQ(MessageRecorder::messages().back().id, "CMD-1009");
    EXPECT_EQ(parse(cmd, {"tst", "-parse", "-parse"}), 0);
    EXPECT_EQ(MessageRecorder::messages().back().text, "tst: option -parse was already specified");
}

TEST_F(CommandTest, RepeatedListOptionAccumulates) {
    ASSERT_EQ(parse(cmd, {"tst", "-incdir", "a b", "-incdir", "{c d}", "x.v", "{y z.v}"}), 1);
    EXPECT_EQ(*cmd.ArrayValue("incdir"), (StringArray{"a", "b", "c d"}));
    EXPECT_EQ(*cmd.ArrayValue(""), (StringArray{"x.v", "y z.v"}));
}

TEST_F(CommandTest, MissingValueAtEndFailsWithoutMessage) {
    EXPECT_EQ(parse(cmd, {"tst", "-level"}), 0);
    EXPECT_EQ(parse(cmd, {"tst", "-out"}), 0);
    EXPECT_TRUE(MessageRecorder::messages().empty());
}

TEST_F(CommandTest, BlankWordIsSkippedButEmptyWordIsPositional) {
    ASSERT_EQ(parse(cmd, {"tst", "  \t", "-parse"}), 1);
    EXPECT_FALSE(cmd.IsSet(""));
    ASSERT_EQ(parse(cmd, {"tst", ""}), 1);
    EXPECT_TRUE(cmd.IsSet(""));
    ASSERT_NE(cmd.ArrayValue(""), nullptr);
    EXPECT_TRUE(cmd.ArrayValue("")->empty());
}

TEST_F(CommandTest, MalformedListFailsSilently) {
    EXPECT_EQ(parse(cmd, {"tst", "{a.v"}), 0);
    EXPECT_EQ(parse(cmd, {"tst", "-incdir", "\"a b"}), 0);
    EXPECT_TRUE(MessageRecorder::messages().empty());
}

TEST_F(CommandTest, NextCallClearsIsSetButKeepsValues) {
    ASSERT_EQ(parse(cmd, {"tst", "-level", "3", "-out", "dir", "a.v"}), 1);
    ASSERT_EQ(parse(cmd, {"tst", "-parse"}), 1);
    EXPECT_FALSE(cmd.IsSet("level"));
    EXPECT_EQ(cmd.IntValue("level"), 7);
    EXPECT_EQ(cmd.StringValue("out"), nullptr);
    EXPECT_EQ(cmd.ArrayValue(""), nullptr);
    EXPECT_EQ(static_cast<IntArg*>(cmd.Find("level"))->value, 3);
    // A list given again starts afresh rather than appending to the old call's values.
    ASSERT_EQ(parse(cmd, {"tst", "b.v"}), 1);
    EXPECT_EQ(*cmd.ArrayValue(""), StringArray{"b.v"});
}

TEST_F(CommandTest, UsageFormat) {
    cmd.Usage();
    std::string expected = "\"tst\" : a test command\n"
                           "    [-print_hier]    : <file>\n"
                           "    [-print]         : <file>\n"
                           "    [-parse]         : \n"
                           "    [-level <arg>]   : <n>\n"
                           "    [-out <arg>]     : <dir>\n"
                           "    [- <args>]       : <files>\n"
                           "    [-incdir <args>] : { <dirs> }\n";
    EXPECT_EQ(MessageRecorder::all(), expected);
    for (const auto& m : MessageRecorder::messages()) EXPECT_EQ(m.type, MSG_NONE);
}

TEST(CommandsTest, AddFindRemove) {
    Commands table;
    EXPECT_TRUE(table.Add(std::make_unique<Command>("one", nullptr)));
    EXPECT_TRUE(table.Add(std::make_unique<Command>("two", nullptr)));
    EXPECT_FALSE(table.Add(std::make_unique<Command>("one", "again")));
    Command* one = table.Find("one");
    ASSERT_NE(one, nullptr);
    EXPECT_FALSE(one->hasDescription);
    table.Remove(one);
    EXPECT_EQ(table.Find("one"), nullptr);
    ASSERT_EQ(table.All().size(), 1u);
    EXPECT_EQ(table.All()[0]->name, "two");
}

TEST(CommandBase, CommandWithoutWorkSucceeds) {
    Command plain("plain", nullptr);
    EXPECT_NE(plain.Process(nullptr), 0);
}

} // namespace
