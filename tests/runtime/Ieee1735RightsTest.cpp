#include <gtest/gtest.h>

#include "runtime/Ieee1735Rights.h"

using ieee1735::Control;
using ieee1735::RightsEval;

TEST(Ieee1735Rights, EvaluatesConditionsOnTheActivity) {
    const auto analysis = RightsEval::Analysis;
    const auto simulation = RightsEval::Simulation;
    EXPECT_EQ(RightsEval::evaluate("\"true\"", analysis), "true");
    EXPECT_EQ(RightsEval::evaluate("(activity==simulation) ? \"false\" : \"true\"", analysis), "true");
    EXPECT_EQ(RightsEval::evaluate("(activity==simulation) ? \"false\" : \"true\"", simulation), "false");
    // A vendor's own activity name, and comparisons with strings.
    EXPECT_EQ(RightsEval::evaluate("(xilinx_activity == \"analysis\") ? \"true\" : \"false\"", analysis), "true");
    EXPECT_EQ(RightsEval::evaluate("activity != synthesis && !(activity == simulation)", analysis), "true");
    EXPECT_EQ(RightsEval::evaluate("activity == synthesis || activity == simulation", analysis), "false");
    EXPECT_EQ(RightsEval::evaluate("activity == simulation ? \"a\" : activity == analysis ? \"b\" : \"c\"", analysis),
              "b");
    EXPECT_EQ(RightsEval::evaluate("delegated", analysis), "delegated");
}

TEST(Ieee1735Rights, UnreadableExpressionsGiveNothing) {
    for (const char* bad : {"", "(", "\"open", "activity ==", "a ? \"true\"", "\"x\" ? \"a\" : \"b\"",
                            "\"true\" && maybe", "true false", "!", "((((((((((((((((((((((((((((((((((((x"}) {
        EXPECT_EQ(RightsEval::evaluate(bad, RightsEval::Analysis), "") << bad;
    }
}

TEST(Ieee1735Rights, DecryptionRightOfTheKeyBlockComesFirst) {
    std::vector<Control> none;
    std::vector<Control> common{{"decryption", "(activity==analysis) ? \"false\" : \"true\""}};
    std::vector<Control> own{{"decryption", "\"true\""}};
    std::vector<Control> other{{"runtime_visibility", "\"delegated\""}};
    EXPECT_EQ(RightsEval::decryption(none, none, RightsEval::Analysis), 0);
    EXPECT_EQ(RightsEval::decryption(none, other, RightsEval::Analysis), 0);
    EXPECT_EQ(RightsEval::decryption(common, none, RightsEval::Analysis), RightsEval::Denied);
    EXPECT_EQ(RightsEval::decryption(common, none, RightsEval::Synthesis), 0);
    EXPECT_EQ(RightsEval::decryption(common, own, RightsEval::Analysis), 0);
    std::vector<Control> broken{{"decryption", "(activity"}};
    EXPECT_EQ(RightsEval::decryption(none, broken, RightsEval::Analysis), RightsEval::Unreadable);
}
