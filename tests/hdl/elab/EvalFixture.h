// A package of constants (and a body of subprograms) analysed and one of its constants
// evaluated: the fixture of the evaluation tests.
#pragma once

#include <gtest/gtest.h>

#include "ElabTestUtil.h"
#include "hdl/elab/VhdlEvaluator.h"
#include "hdl/vhdl/VhdlLibrary.h"

namespace hdl::test {

class EvalFixture : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::LoadStandardLibraries())
            GTEST_SKIP() << "standard libraries not arranged (scripts/assemble_data.sh)";
    }

    // The image of constant `name` declared among `decls` of a package (whose body holds
    // `body`), or "error VHDL-nnnn: text" when evaluation fails.
    std::string Value(const std::string& decls, const std::string& name, const std::string& body = "") {
        std::string pkg = test::UniquePackageName();
        std::string text =
            "library ieee; use ieee.std_logic_1164.all; use ieee.numeric_std.all; use ieee.math_real.all;\n"
            "package " +
            pkg + " is\n" + decls +
            "\nend package;\n"
            "package body " +
            pkg + " is\n" + body + "\nend package body;\n";
        std::string errors = test::AnalyzeVhdl(text);
        if (!errors.empty()) return "analysis: " + errors;
        auto* unit = dynamic_cast<VhdlPackageDecl*>(vhdl_file::GetLibrary("work")->GetPrimUnit(pkg.c_str()));
        if (!unit) return "no package";
        for (VhdlTreeNode* d : unit->declarations) {
            auto* c = dynamic_cast<VhdlConstantDecl*>(d);
            if (!c) continue;
            for (VhdlIdDef* id : c->ids) {
                if (id->Name() != name) continue;
                test::MessageCapture capture;
                VhdlEvaluator ev(limits);
                try {
                    std::string image = VhdlImage(ev.ValueOf(id, c));
                    messages = capture.All();
                    return image;
                } catch (const VhdlEvalError& e) {
                    messages = capture.All();
                    return std::string("error ") + e.Id() + ": " + e.Text();
                }
            }
        }
        return "no constant " + name;
    }

    std::vector<test::CapturedMessage> messages;
    ElabLimits limits;
};

} // namespace hdl::test
