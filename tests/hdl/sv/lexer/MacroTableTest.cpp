#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "hdl/sv/VeriMacroTable.h"

using namespace hdl;

namespace {

// The table against a plain list of (name, body, command line) in order of first
// definition, under long random runs of definitions, removals and clears over a few
// names, so that buckets collide, removed entries pile up and the index grows.
TEST(MacroTable, AgreesWithAPlainListUnderRandomChanges) {
    // Short names, and long ones that differ only in their middle (which share a hash).
    std::vector<std::string> names;
    for (int i = 0; i < 300; ++i)
        names.push_back(i % 3 ? "M" + std::to_string(i * 7919 % 1000) : "ASSERT_" + std::to_string(i) + "_DEFAULT_CLK");
    std::vector<std::string> bodies = {"a", "b", "c"};
    struct Entry {
        std::string name;
        std::string body;
        bool commandLine;
    };
    std::mt19937 rng(11);
    for (int round = 0; round < 20; ++round) {
        VeriMacroTable table;
        std::vector<Entry> model;
        VeriMacro shared; // kept alive past the table: defined without a copy
        shared.name = "SHARED";
        shared.body = "s";
        size_t span = round % 2 ? 8 : names.size(); // few names: many removals per bucket
        for (int step = 0; step < 4000; ++step) {
            const std::string& name = names[rng() % span];
            auto at = std::find_if(model.begin(), model.end(), [&](const Entry& e) { return e.name == name; });
            unsigned op = rng() % 100;
            if (op < 55) {
                VeriMacro m;
                m.name = name;
                m.body = bodies[rng() % bodies.size()];
                m.fromCommandLine = rng() % 10 == 0;
                table.define(m);
                if (at != model.end()) *at = Entry{name, std::string(m.body), m.fromCommandLine};
                else model.push_back(Entry{name, std::string(m.body), m.fromCommandLine});
            } else if (op < 95) {
                EXPECT_EQ(table.undefine(name), at != model.end()) << name;
                if (at != model.end()) model.erase(at);
            } else if (op < 98) {
                table.undefineAll();
                model.erase(std::remove_if(model.begin(), model.end(), [](const Entry& e) { return !e.commandLine; }),
                            model.end());
            } else {
                table.defineShared(shared);
                EXPECT_EQ(table.find("SHARED"), &shared);
                EXPECT_TRUE(table.undefine("SHARED"));
            }
            if (step % 97 == 0) {
                std::vector<const VeriMacro*> defined = table.definedMacros();
                ASSERT_EQ(defined.size(), model.size());
                ASSERT_EQ(table.size(), model.size());
                for (size_t k = 0; k < model.size(); ++k) {
                    EXPECT_EQ(defined[k]->name, model[k].name);
                    EXPECT_EQ(defined[k]->body, model[k].body);
                }
            }
            const VeriMacro* found = table.find(name);
            at = std::find_if(model.begin(), model.end(), [&](const Entry& e) { return e.name == name; });
            ASSERT_EQ(found != nullptr, at != model.end()) << name << " at step " << step;
            if (found) {
                EXPECT_EQ(found->body, at->body);
            }
        }
        table.clear();
        EXPECT_EQ(table.size(), 0u);
        EXPECT_EQ(table.find(names[0]), nullptr);
    }
}

// A definition found before the macro is defined again keeps its text: an expansion
// under way holds such pointers.
TEST(MacroTable, EarlierDefinitionsStayValidWhenRedefined) {
    VeriMacroTable table;
    VeriMacro m;
    m.name = "W";
    m.body = "8";
    table.define(m);
    const VeriMacro* first = table.find("W");
    for (int i = 0; i < 200; ++i) {
        VeriMacro other;
        other.name = table.own("N" + std::to_string(i));
        table.define(other);
    }
    m.body = "16";
    table.define(m);
    EXPECT_EQ(first->body, "8");
    EXPECT_EQ(table.find("W")->body, "16");
    EXPECT_EQ(table.definedMacros().front()->name, "W") << "a redefinition keeps its place";
}

} // namespace
