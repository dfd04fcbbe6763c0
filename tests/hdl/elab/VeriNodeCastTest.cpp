// Casts by class code answer as dynamic_cast does, for every node of a real project and
// every class of the tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/Message.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {
namespace {

struct AllNodes : VeriVisitor {
    std::vector<VeriTreeNode*> nodes;
    void PreVisit(VeriTreeNode& n) override { nodes.push_back(&n); }
};

void quiet(msg_type_t, const char*, const ColLineFile*, const char*, va_list) {}

TEST(VeriNodeCast, AgreesWithDynamicCastOnEveryNodeOfAProject) {
    namespace fs = std::filesystem;
    fs::path dir = fs::path(SIFT_SHARED_DIR) / "corpus" / "common_cells";
    std::ifstream list(dir / "FILELIST.tsv");
    if (!list) GTEST_SKIP() << "corpus not present";
    MsgCallBack previous = Message::GetCallBackMsg();
    Message::RegisterCallBackMsg(quiet);
    veri_file::Reset();
    std::string line;
    std::vector<std::vector<std::string>> rows;
    while (std::getline(list, line)) {
        std::istringstream cols(line);
        std::vector<std::string> row;
        for (std::string c; std::getline(cols, c, '\t');) row.push_back(c);
        if (row.size() >= 2 && row[0] == "incdir") veri_file::AddIncludeDir((dir / row[1]).string().c_str());
        rows.push_back(row);
    }
    for (const auto& row : rows) {
        unsigned mode = row.size() >= 3 ? unsigned(LanguageByName(row[0].c_str())) : 0u;
        if (IsVerilogLanguage(mode)) veri_file::Analyze((dir / row[2]).string().c_str(), mode, row[1].c_str());
    }
    Message::RegisterCallBackMsg(previous);
    AllNodes walk;
    for (VeriLibrary* lib : veri_file::AllLibraries())
        for (VeriModule* m : lib->AllModules()) walk.TraverseNode(m);
    std::set<uint32_t> kinds;
    size_t wrong = 0, matches = 0;
    for (VeriTreeNode* n : walk.nodes) {
        kinds.insert(n->GetClassId());
        const VeriTreeNode* c = n;
        // clang-format off
#define HDL_VERI_CAST_CHECK(cls, base)                                                             \
        if (VeriAs<cls>(c) != dynamic_cast<const cls*>(c) && ++wrong < 10)                         \
            ADD_FAILURE() << veriClassName(n->GetClassId()) << " as " #cls;                        \
        if (VeriAs<cls>(n)) ++matches;
        HDL_VERI_NODE_CLASSES(HDL_VERI_CAST_CHECK)
#undef HDL_VERI_CAST_CHECK
        // clang-format on
    }
    veri_file::Reset();
    EXPECT_EQ(wrong, 0u);
    // Many kinds of node, each a match for its own class and for its bases.
    EXPECT_GT(kinds.size(), 60u);
    EXPECT_GT(matches, 2 * walk.nodes.size());
    EXPECT_EQ(VeriAs<VeriExpression>(static_cast<VeriTreeNode*>(nullptr)), nullptr);
}

} // namespace
} // namespace hdl
