// The fixture of the Verilog elaboration tests: analysis into named libraries, the
// --hier listing of an elaboration, and the messages it told.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "ElabTestUtil.h"
#include "VhdlTestUtil.h"
#include "hdl/elab/ElabHierPrinter.h"
#include "hdl/elab/VeriElaborator.h"
#include "hdl/sv/VeriLibrary.h"

namespace hdl {

class VeriElaboratorTest : public ::testing::Test {
protected:
    void SetUp() override { veri_file::Reset(); }
    void TearDown() override { veri_file::Reset(); }

    void Analyze(const std::string& text, const char* library = "work") {
        test::MessageCapture capture;
        EXPECT_TRUE(veri_file::AnalyzeText(text, "design.sv", SYSTEM_VERILOG, library)) << capture.Errors();
    }

    // The --hier listing of the tops (none: the modules nothing instantiates).
    std::string Hier(std::vector<std::string> tops = {}, const ElabGenericMap& params = {},
                     const ElabLimits& limits = ElabLimits(), ElabUnitLookup foreign = nullptr) {
        test::MessageCapture capture;
        std::vector<ElabTopRequest> requests;
        for (const std::string& t : tops) requests.push_back({t, "", ""});
        if (requests.empty()) requests = VeriFindTops();
        ElabDesign design;
        ok = VeriElaborate(design, requests, params, limits, std::move(foreign));
        messages = capture.All();
        std::ostringstream out;
        ElabPrintHier(design, out);
        units = design.UnitCount();
        return out.str();
    }
    bool Told(const std::string& id) const {
        return std::any_of(messages.begin(), messages.end(), [&](const auto& m) { return m.id == id; });
    }
    static std::vector<std::string> InstanceIds(const VeriModule* m) {
        std::vector<std::string> names;
        for (uint32_t i = 0; i < m->GetScope()->DeclarationCount(); ++i) {
            const VeriIdDef* id = m->GetScope()->Declaration(i);
            if (id->GetClassId() == ID_VERIINSTID) names.push_back(std::string(id->Name()));
        }
        return names;
    }

    bool ok = false;
    size_t units = 0;
    std::vector<test::CapturedMessage> messages;
};

} // namespace hdl
