// The field lists of the Verilog tree, held against real code: every node a parse makes
// is reached by the default walk from the units it hands over (a child missing from its
// class's list is not), and a copy of every unit equals its original, shares no node
// with it, and has its resolved references point into itself where the original's
// pointed into the original.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

#include "hdl/base/Message.h"
#include "hdl/base/TreeCopier.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriParser.h"
#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

namespace fs = std::filesystem;

unsigned gErrors = 0;

void countErrors(msg_type_t type, const char*, const ColLineFile*, const char*, va_list) {
    if (type == MSG_ERROR) ++gErrors;
}

// Every node below the roots, attribute values included (the default walk leaves them
// out, the field lists do not).
class NodeCollector : public VeriVisitor {
public:
    void PreVisit(VeriTreeNode& node) override {
        nodes.push_back(&node);
        for (const VeriAttribute& a : node.GetAttributes()) TraverseNode(a.value);
    }
    std::vector<VeriTreeNode*> nodes;
};

std::vector<VeriModule*> gReplaced;
void keepReplaced(VeriModule* previous, VeriModule*) { gReplaced.push_back(previous); }

std::set<VeriModule*> allUnits() {
    std::set<VeriModule*> units;
    for (VeriLibrary* lib : veri_file::AllLibraries())
        for (VeriModule* m : lib->AllModules()) units.insert(m);
    return units;
}

// Per class that did not add up: how many nodes went missing, and the first file.
struct Mismatches {
    std::map<std::string, std::pair<int64_t, std::string>> byClass;
    void add(const Mismatches& more) {
        for (const auto& [name, m] : more.byClass) {
            auto& mine = byClass[name];
            if (mine.second.empty()) mine.second = m.second;
            mine.first += m.first;
        }
    }
    std::string text() const {
        std::ostringstream out;
        for (const auto& [name, m] : byClass)
            out << name << ": " << m.first << " made but not reached, first in " << m.second << "\n";
        return out.str();
    }
};

// One analysis call, checked: the nodes it made against the nodes reached from the units
// it handed over.
template <class Analyse>
Mismatches checkCensus(const std::string& what, Analyse analyse, bool& parsedCleanly) {
    std::set<VeriModule*> before = allUnits();
    gReplaced.clear();
    gErrors = 0;
    VeriParser::ResetNodesMade();
    analyse();
    parsedCleanly = gErrors == 0;
    NodeCollector walk;
    for (VeriModule* m : allUnits())
        if (!before.count(m)) walk.TraverseNode(m);
    for (VeriModule* m : gReplaced)
        if (!before.count(m)) walk.TraverseNode(m);
    VeriParser::NodeCounts reached{};
    for (VeriTreeNode* n : walk.nodes) ++reached[n->GetClassId() + kVeriClassIdOffset];
    Mismatches out;
    const VeriParser::NodeCounts& made = VeriParser::NodesMade();
    for (uint32_t i = 0; i < kVeriClassCount; ++i)
        if (made[i] != reached[i])
            out.byClass[veriClassName(i - kVeriClassIdOffset)] = {int64_t(made[i] - reached[i]), what};
    return out;
}

struct Project {
    std::vector<std::string> incdirs;
    struct File {
        std::string path, library;
        unsigned lang;
    };
    std::vector<File> files;
};

Project readProject(const fs::path& dir) {
    Project p;
    std::ifstream list(dir / "FILELIST.tsv");
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream cols(line);
        std::string lang, library, path;
        std::getline(cols, lang, '\t');
        std::getline(cols, library, '\t');
        std::getline(cols, path, '\t');
        unsigned code = lang == "sv"    ? unsigned(SYSTEM_VERILOG)
                        : lang == "v2k" ? unsigned(VERILOG_2K)
                        : lang == "v95" ? unsigned(VERILOG_95)
                                        : 0u;
        if (lang == "incdir") p.incdirs.push_back((dir / library).string());
        else if (code) p.files.push_back({(dir / path).string(), library, code});
    }
    return p;
}

// Analyses a corpus project in list order, checking each file.
Mismatches censusOfProject(const fs::path& dir, size_t& files) {
    Project p = readProject(dir);
    veri_file::Reset();
    for (const std::string& d : p.incdirs) veri_file::AddIncludeDir(d.c_str());
    veri_file::RegisterReplaceCallBack(keepReplaced);
    Mismatches mismatches;
    for (const Project::File& f : p.files) {
        bool clean = false;
        mismatches.add(checkCensus(
            f.path, [&] { veri_file::Analyze(f.path.c_str(), f.lang, f.library.c_str()); }, clean));
        ++files;
    }
    veri_file::Reset();
    return mismatches;
}

const char* const kProjects[] = {"common_cells", "cv32e40p", "picorv32", "serv"};

TEST(VeriFieldLists, EveryNodeOfTheCorpusIsReachedByTheWalk) {
    MsgCallBack previous = Message::GetCallBackMsg();
    Message::RegisterCallBackMsg(countErrors);
    size_t files = 0;
    Mismatches mismatches;
    for (const char* name : kProjects) {
        fs::path dir = fs::path(SIFT_SHARED_DIR) / "corpus" / name;
        if (fs::exists(dir / "FILELIST.tsv")) mismatches.add(censusOfProject(dir, files));
    }
    Message::RegisterCallBackMsg(previous);
    if (files == 0) GTEST_SKIP() << "corpus not present";
    EXPECT_EQ(mismatches.text(), "");
}

TEST(VeriFieldLists, EveryNodeOfTheSvTestsIsReachedByTheWalk) {
    fs::path root = fs::path(SIFT_SHARED_DIR) / "conformance" / "sv-tests" / "tests";
    if (!fs::is_directory(root)) GTEST_SKIP() << "sv-tests not present";
    std::vector<fs::path> files;
    for (const auto& e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file() && e.path().extension() == ".sv") files.push_back(e.path());
    std::sort(files.begin(), files.end());
    MsgCallBack previous = Message::GetCallBackMsg();
    Message::RegisterCallBackMsg(countErrors);
    Mismatches mismatches;
    size_t checked = 0;
    for (const fs::path& file : files) {
        veri_file::Reset();
        veri_file::AddIncludeDir(file.parent_path().string().c_str());
        veri_file::RegisterReplaceCallBack(keepReplaced);
        bool clean = false;
        Mismatches found = checkCensus(
            file.string(), [&] { veri_file::Analyze(file.string().c_str()); }, clean);
        // Files that do not parse may leave partial constructs behind; only clean ones count.
        if (!clean) continue;
        mismatches.add(found);
        ++checked;
    }
    veri_file::Reset();
    Message::RegisterCallBackMsg(previous);
    EXPECT_GT(checked, 700u);
    EXPECT_EQ(mismatches.text(), "");
}

// A node's index in the walk of its tree, for pairing an original with its copy.
std::unordered_map<const VeriTreeNode*, size_t> indexOf(const std::vector<VeriTreeNode*>& nodes) {
    std::unordered_map<const VeriTreeNode*, size_t> index;
    for (size_t i = 0; i < nodes.size(); ++i) index.emplace(nodes[i], i);
    return index;
}

// Where a back-link of a copy points, told against where the original's points.
struct LinkCheck {
    size_t inside = 0, outside = 0;
    std::vector<std::string> wrong;
    void check(const char* what, const VeriTreeNode* original, const VeriTreeNode* copied,
               const std::unordered_map<const VeriTreeNode*, size_t>& originals,
               const std::vector<VeriTreeNode*>& copies) {
        if (!original) {
            if (copied) wrong.push_back(std::string(what) + " set in the copy only");
            return;
        }
        auto at = originals.find(original);
        if (at == originals.end()) {
            ++outside;
            if (copied != original) wrong.push_back(std::string(what) + " outside the unit moved");
        } else {
            ++inside;
            if (copied != copies[at->second]) wrong.push_back(std::string(what) + " not on the copy's node");
        }
    }
};

// The scope an identifier opens is rebuilt for its copy: a lookup there finds the copy's
// declarations, and the scope hangs under the copy of the scope above where that was copied.
void checkScope(const VeriScope& original, const VeriScope* copy,
                const std::unordered_map<const VeriTreeNode*, size_t>& originals,
                const std::vector<VeriTreeNode*>& copies, LinkCheck& links) {
    if (!copy || copy == &original) {
        links.wrong.push_back("scope shared with the original");
        return;
    }
    links.check("scope owner", original.Owner(), copy->Owner(), originals, copies);
    if (copy->DeclarationCount() != original.DeclarationCount()) links.wrong.push_back("scope lost declarations");
    for (uint32_t i = 0; i < original.DeclarationCount(); ++i) {
        VeriIdDef* declared = original.Declaration(i);
        links.check("scope entry", declared, copy->Declaration(i), originals, copies);
        if (copy->findLocal(declared->Name()) != copy->Declaration(i))
            links.wrong.push_back("lookup in the copy's scope misses " + std::string(declared->Name()));
    }
    if (original.Upper() && copy->Upper() != original.Upper() && originals.count(original.Upper()->Owner()) == 0)
        links.wrong.push_back("scope above a unit moved");
}

TEST(VeriTreeCopy, CorpusUnitsCopyToEqualTreesOfTheirOwn) {
    size_t units = 0;
    LinkCheck links;
    MsgCallBack previous = Message::GetCallBackMsg();
    Message::RegisterCallBackMsg(countErrors);
    for (const char* name : kProjects) {
        fs::path dir = fs::path(SIFT_SHARED_DIR) / "corpus" / name;
        if (!fs::exists(dir / "FILELIST.tsv")) continue;
        Project p = readProject(dir);
        veri_file::Reset();
        for (const std::string& d : p.incdirs) veri_file::AddIncludeDir(d.c_str());
        for (const Project::File& f : p.files) veri_file::Analyze(f.path.c_str(), f.lang, f.library.c_str());
        Arena arena;
        for (VeriModule* unit : allUnits()) {
            ++units;
            auto* copy = static_cast<VeriModule*>(unit->Copy(arena));
            ASSERT_TRUE(copy->IsEqual(unit)) << unit->Name();
            EXPECT_EQ(copy->GetClassId(), unit->GetClassId());
            NodeCollector a, b;
            a.TraverseNode(unit);
            b.TraverseNode(copy);
            ASSERT_EQ(a.nodes.size(), b.nodes.size()) << unit->Name();
            auto originals = indexOf(a.nodes);
            for (VeriTreeNode* n : b.nodes) ASSERT_FALSE(originals.count(n)) << unit->Name() << " shares a node";
            for (size_t i = 0; i < a.nodes.size(); ++i) {
                VeriTreeNode* o = a.nodes[i];
                VeriTreeNode* c = b.nodes[i];
                ASSERT_EQ(o->GetClassId(), c->GetClassId());
                if (auto* ref = dynamic_cast<VeriIdRef*>(o))
                    links.check("reference", ref->id, static_cast<VeriIdRef*>(c)->id, originals, b.nodes);
                if (auto* id = dynamic_cast<VeriIdDef*>(o)) {
                    auto* copyId = static_cast<VeriIdDef*>(c);
                    links.check("declaration", id->declaration, copyId->declaration, originals, b.nodes);
                    if (VeriScope* scope = id->LocalScope())
                        checkScope(*scope, copyId->LocalScope(), originals, b.nodes, links);
                }
            }
        }
    }
    veri_file::Reset();
    Message::RegisterCallBackMsg(previous);
    if (units == 0) GTEST_SKIP() << "corpus not present";
    for (const std::string& w : links.wrong) ADD_FAILURE() << w;
    // Both kinds occur: names declared in the unit, and package items imported into it.
    EXPECT_GT(links.inside, 10000u);
    EXPECT_GT(links.outside, 100u);
}

TEST(VeriTreeCopy, ACopyChangesApartFromItsOriginal) {
    MsgCallBack previous = Message::GetCallBackMsg();
    Message::RegisterCallBackMsg(countErrors);
    veri_file::Reset();
    ASSERT_TRUE(veri_file::AnalyzeText("module m(input a, output b); assign b = a; endmodule\n", "m.sv"));
    Message::RegisterCallBackMsg(previous);
    VeriModule* m = veri_file::GetModule("m");
    Arena arena;
    auto* copy = static_cast<VeriModule*>(m->Copy(arena));
    ASSERT_TRUE(copy->IsEqual(m));
    auto* assign = static_cast<VeriContinuousAssign*>(copy->items.Back());
    auto* rhs = static_cast<VeriIdRef*>(assign->assigns[0]->rval);
    rhs->name = Symbol::Intern("c");
    EXPECT_FALSE(copy->IsEqual(m));
    EXPECT_EQ(static_cast<VeriIdRef*>(static_cast<VeriContinuousAssign*>(m->items.Back())->assigns[0]->rval)->name,
              "a");
    rhs->name = Symbol::Intern("a");
    rhs->id = nullptr; // resolved in the original, not in the copy
    EXPECT_FALSE(copy->IsEqual(m));
    veri_file::Reset();
}

// Attributes, qualifiers and labels live apart from the nodes; a copy has its own.
TEST(VeriTreeCopy, ACopyHasAttributesLabelsAndQualifiersOfItsOwn) {
    MsgCallBack previous = Message::GetCallBackMsg();
    Message::RegisterCallBackMsg(countErrors);
    veri_file::Reset();
    ASSERT_TRUE(veri_file::AnalyzeText("module m;\n"
                                       "  (* keep = 1 *) logic a;\n"
                                       "  initial begin l1: a = 1; end\n"
                                       "  class C; rand int x; endclass\n"
                                       "endmodule\n",
                                       "m.sv"));
    Message::RegisterCallBackMsg(previous);
    VeriModule* m = veri_file::GetModule("m");
    Arena arena;
    auto* copy = static_cast<VeriModule*>(m->Copy(arena));
    ASSERT_TRUE(copy->IsEqual(m));
    ASSERT_EQ(copy->items.Size(), 3u);
    VeriAttribute original = m->items[0]->GetAttributes().At(0);
    VeriAttribute copied = copy->items[0]->GetAttributes().At(0);
    EXPECT_EQ(copied.name, "keep");
    ASSERT_NE(copied.value, nullptr);
    EXPECT_NE(copied.value, original.value);
    auto statementOf = [](VeriModule* unit) {
        auto* block = static_cast<VeriSeqBlock*>(static_cast<VeriInitialConstruct*>(unit->items[1])->stmt);
        return block->stmts[0];
    };
    VeriLabelId* label = statementOf(copy)->GetLabel();
    ASSERT_NE(label, nullptr);
    EXPECT_NE(label, statementOf(m)->GetLabel());
    EXPECT_EQ(label->declaration, statementOf(copy)); // the back-link follows the copy
    auto* cls = static_cast<VeriClass*>(copy->items[2]);
    EXPECT_EQ(cls->items[0]->GetQualifiers().At(0), unsigned(VT_RAND));
    // The walk reaches the label first, before the statement's own children.
    struct Labels : VeriVisitor {
        void Visit(VeriLabelId& id) override { names.emplace_back(id.Name()); }
        std::vector<std::string> names;
    } labels;
    labels.TraverseNode(copy);
    EXPECT_EQ(labels.names, std::vector<std::string>{"l1"});
    copy->items[0]->SetAttributes(ArenaArray<VeriAttribute>());
    EXPECT_FALSE(copy->IsEqual(m));
    EXPECT_EQ(m->items[0]->GetAttributes().Size(), 1u);
    veri_file::Reset();
}

} // namespace
