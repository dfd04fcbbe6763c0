// Saved Verilog libraries: a real project (cv32e40p) saved and restored gives back the
// same trees, with the same links and scopes, against which a user design resolves as
// against parsed packages; damaged, truncated, foreign or outdated files are refused
// with one message and the unit stays absent.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <boost/filesystem.hpp>

#include "hdl/base/Message.h"
#include "hdl/store/VeriStore.h"
#include "hdl/store/VhdlStore.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriPrettyPrinter.h"
#include "hdl/sv/VeriVisitor.h"

using namespace hdl;

namespace {

const std::string kProject = SIFT_SHARED_DIR "/corpus/cv32e40p/";

struct Project {
    std::vector<std::string> incdirs;
    std::vector<std::string> packages; // files that declare packages, in list order
    std::vector<std::string> others;
};

Project ReadProject() {
    Project p;
    std::ifstream list(kProject + "FILELIST.tsv");
    for (std::string line; std::getline(list, line);) {
        std::istringstream cols(line);
        std::string kind, a, b;
        std::getline(cols, kind, '\t');
        std::getline(cols, a, '\t');
        std::getline(cols, b);
        if (kind == "incdir") p.incdirs.push_back(kProject + a);
        if (kind != "sv") continue;
        std::ifstream file(kProject + b);
        std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        (text.find("\npackage ") != std::string::npos ? p.packages : p.others).push_back(kProject + b);
    }
    return p;
}

struct Told {
    std::string id;
    std::string text;
};
std::vector<Told> gTold;

void Capture(msg_type_t type, const char* id, const ColLineFile*, const char* format, va_list args) {
    if (type != MSG_ERROR) return;

    char text[2048];
    std::vsnprintf(text, sizeof text, format, args);
    gTold.push_back({id ? id : "", text});
}

size_t CountTold(const std::string& id) {
    size_t n = 0;
    for (const Told& t : gTold) n += t.id == id;
    return n;
}

// Every node in walk order with what its links lead to, as text: the class, name and
// source position of the target, so that two trees compare link by link.
struct LinkPrinter : VeriVisitor {
    void PreVisit(VeriTreeNode& n) override {
        out << n.GetClassId();
        if (auto* e = dynamic_cast<VeriExpression*>(&n))
            if (VeriIdDef* id = e->GetId()) out << "->" << target(id) << ':' << id->Name();
        if (auto* inst = dynamic_cast<VeriModuleInstantiation*>(&n)) out << "=>" << target(inst->module);
        if (auto* id = dynamic_cast<VeriIdDef*>(&n)) out << " decl " << target(id->declaration);
        out << '\n';
    }
    std::string target(VeriTreeNode* n) {
        if (!n) return "-";
        ++linked;
        ColLineFile loc = n->Linefile();
        const char* file = LineFile::GetFileNameFromId(loc.fileId);
        return std::to_string(n->GetClassId()) + '@' + (file ? file : "") + ':' + std::to_string(loc.leftLine) + '.' +
               std::to_string(loc.leftCol);
    }
    std::ostringstream out;
    size_t linked = 0;
};

std::string Links(VeriModule* m, size_t* linked = nullptr) {
    LinkPrinter p;
    p.TraverseNode(m);
    if (linked) *linked += p.linked;
    return p.out.str();
}

// Scopes with their declarations and imports, unit by unit.
std::string Scopes(VeriModule* m) {
    std::ostringstream out;
    struct Walker : VeriVisitor {
        void PreVisit(VeriTreeNode& n) override {
            auto* id = dynamic_cast<VeriIdDef*>(&n);
            VeriScope* s = id ? id->LocalScope() : nullptr;
            if (!s) return;
            (*out) << id->Name() << " upper " << (s->Upper() ? s->Upper()->Owner()->GetClassId() : 0) << ':';
            for (uint32_t i = 0; i < s->DeclarationCount(); ++i) (*out) << ' ' << s->Declaration(i)->Name();
            for (const VeriScope::Import* i = s->imports(); i; i = i->next)
                (*out) << " import " << (i->package ? i->package->Name() : "-") << "::" << i->item;
            if (s->Declaration(0)) (*out) << " finds " << (s->findLocal(s->Declaration(0)->name) == s->Declaration(0));
            (*out) << '\n';
        }
        std::ostringstream* out;
    } w;
    w.out = &out;
    w.TraverseNode(m);
    return out.str();
}

class VeriStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!boost::filesystem::exists(kProject + "FILELIST.tsv")) GTEST_SKIP() << "corpus absent";
        dir = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("sift-veri-store-%%%%%%");
        boost::filesystem::create_directories(dir);
        veri_file::Reset();
        gTold.clear();
        Message::RegisterCallBackMsg(Capture);
        project = ReadProject();
    }
    void TearDown() override {
        Message::RegisterCallBackMsg(nullptr);
        veri_file::Reset();
        boost::system::error_code ec;
        boost::filesystem::remove_all(dir, ec);
    }
    void Includes() {
        for (const std::string& d : project.incdirs) veri_file::AddIncludeDir(d.c_str());
    }
    // The packages analysed into `pkgs` and saved under the test's directory.
    void SavePackages() {
        Includes();
        ASSERT_TRUE(veri_file::AnalyzeMultipleFiles(project.packages, SYSTEM_VERILOG, "pkgs"));
        veri_file::SetDefaultLibraryPath(dir.string().c_str());
        ASSERT_TRUE(veri_file::SaveLib("pkgs")) << (gTold.empty() ? "" : gTold[0].text);
        ASSERT_TRUE(gTold.empty()) << gTold[0].text;
    }
    std::string file(const std::string& name) { return (dir / "pkgs" / VeriStore::FileName(name)).string(); }

    boost::filesystem::path dir;
    Project project;
};

// Every unit of the project, saved and restored after a reset, equals the unit parsed
// anew: fields, extras, links (by target) and scopes (with their index) alike.
TEST_F(VeriStoreTest, RestoredUnitsEqualParsedOnes) {
    Includes();
    std::vector<std::string> all = project.packages;
    all.insert(all.end(), project.others.begin(), project.others.end());
    ASSERT_TRUE(veri_file::AnalyzeMultipleFiles(all, SYSTEM_VERILOG, "work"));
    std::vector<std::string> names;
    for (VeriModule* m : veri_file::GetLibrary("work")->AllModules()) names.emplace_back(m->Name());
    ASSERT_GT(names.size(), 20u);
    veri_file::SetDefaultLibraryPath(dir.string().c_str());
    ASSERT_TRUE(veri_file::SaveLib("work")) << (gTold.empty() ? "" : gTold[0].text);

    veri_file::Reset();
    Includes();
    ASSERT_TRUE(veri_file::AnalyzeMultipleFiles(all, SYSTEM_VERILOG, "parsed"));
    veri_file::AddLibraryPath("work", (dir / "work").string().c_str());
    VeriLibrary* saved = veri_file::GetLibrary("work");
    VeriLibrary* parsed = veri_file::GetLibrary("parsed");
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        VeriModule* restored = saved->GetModule(name);
        VeriModule* fresh = parsed->GetModule(name);
        ASSERT_NE(restored, nullptr);
        ASSERT_NE(fresh, nullptr);
        EXPECT_EQ(restored->GetLibrary(), saved);
        EXPECT_TRUE(restored->IsEqual(fresh));
        EXPECT_EQ(VeriPrettyPrinter::toString(*restored), VeriPrettyPrinter::toString(*fresh));
        EXPECT_EQ(Links(restored), Links(fresh));
        EXPECT_EQ(Scopes(restored), Scopes(fresh));
        EXPECT_EQ(restored->Linefile().leftLine, fresh->Linefile().leftLine);
    }
    EXPECT_TRUE(gTold.empty()) << gTold[0].text;
    // Links were compared, not only their absence.
    size_t linked = 0;
    for (const std::string& name : names) Links(saved->GetModule(name), &linked);
    EXPECT_GT(linked, 1000u);
}

// The project's modules analysed against restored packages resolve as against parsed
// ones; a misspelt package name is reported as unknown.
TEST_F(VeriStoreTest, DesignResolvesAgainstRestoredPackages) {
    SavePackages();
    std::vector<std::string> packageNames;
    for (VeriModule* m : veri_file::GetLibrary("pkgs")->AllModules())
        if (m->IsPackage() && !m->IsRootModule()) packageNames.emplace_back(m->Name());
    ASSERT_GE(packageNames.size(), 3u);

    // Parsed packages: the reference.
    std::vector<std::string> all = project.packages;
    all.insert(all.end(), project.others.begin(), project.others.end());
    veri_file::Reset();
    Includes();
    ASSERT_TRUE(veri_file::AnalyzeMultipleFiles(project.packages, SYSTEM_VERILOG, "pkgs"));
    ASSERT_TRUE(veri_file::AnalyzeMultipleFiles(project.others, SYSTEM_VERILOG, "work"));
    std::map<std::string, std::string> expected;
    for (VeriModule* m : veri_file::GetLibrary("work")->AllModules()) expected[std::string(m->Name())] = Links(m);

    veri_file::Reset();
    gTold.clear();
    Includes();
    veri_file::AddLibraryPath("pkgs", (dir / "pkgs").string().c_str());
    ASSERT_TRUE(veri_file::AnalyzeMultipleFiles(project.others, SYSTEM_VERILOG, "work"));
    EXPECT_TRUE(gTold.empty()) << gTold[0].text;
    size_t imports = 0;
    for (VeriModule* m : veri_file::GetLibrary("work")->AllModules()) {
        SCOPED_TRACE(std::string(m->Name()));
        EXPECT_EQ(Links(m), expected[std::string(m->Name())]);
        for (const VeriScope::Import* i = m->GetScope()->imports(); i; i = i->next) {
            ASSERT_NE(i->package, nullptr);
            EXPECT_EQ(i->package->GetLibrary(), veri_file::GetLibrary("pkgs"));
            ++imports;
        }
    }
    EXPECT_GT(imports, 10u);
    // Only what was asked for came back.
    EXPECT_LE(veri_file::GetLibrary("pkgs")->AllModules().size(), packageNames.size() + 1);

    // A broken variant of a real module: the package name misspelt.
    std::string text;
    size_t at = std::string::npos;
    std::string good;
    for (const std::string& path : project.others) {
        std::ifstream in(path);
        text.assign((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        for (const std::string& p : packageNames)
            if ((at = text.find(good = p + "::")) != std::string::npos) break;
        if (at != std::string::npos) break;
    }
    ASSERT_NE(at, std::string::npos);
    text.replace(at, good.size(), good.substr(0, good.size() - 2) + "_x::");
    gTold.clear();
    EXPECT_FALSE(veri_file::AnalyzeText(text, "broken.sv", SYSTEM_VERILOG, "broken") && gTold.empty());
    EXPECT_GE(CountTold("VERI-1504"), 1u);
}

// A bad file: one message naming the unit, the unit absent, the next look-up silent.
TEST_F(VeriStoreTest, BadFilesAreRefusedOnce) {
    SavePackages();
    const std::string name = "cv32e40p_pkg";
    std::ifstream in(file(name), std::ios::binary);
    const std::string good((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_GT(good.size(), 100u);

    std::string layout = good;
    layout[13] ^= 1; // a byte of the layout hash
    std::string damaged = good;
    damaged[good.size() / 2] ^= 0x20;
    std::string garbage(good.size(), '\x7f');
    std::vector<std::pair<std::string, std::string>> cases = {
        {"truncated", good.substr(0, good.size() - 7)},
        {"damaged", damaged},
        {"layout", layout},
        {"garbage", garbage},
        {"empty", ""},
    };
    // A saved VHDL unit under a Verilog name: another kind of file.
    cases.push_back({"foreign", StoreSeal(VhdlStore::Kind(), good.substr(40), nullptr)});
    // A good header over the payload of another unit.
    {
        std::ifstream other(file("cv32e40p_fpu_pkg"), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(other)), std::istreambuf_iterator<char>());
        cases.push_back({"other unit", bytes});
    }
    for (const auto& [what, bytes] : cases) {
        SCOPED_TRACE(what);
        veri_file::Reset();
        gTold.clear();
        veri_file::AddLibraryPath("pkgs", (dir / "pkgs").string().c_str());
        std::ofstream(file(name), std::ios::binary | std::ios::trunc) << bytes;
        VeriLibrary* lib = veri_file::GetLibrary("pkgs");
        EXPECT_EQ(lib->GetModule(name), nullptr);
        EXPECT_EQ(lib->GetModule(name), nullptr);
        ASSERT_EQ(gTold.size(), 1u);
        EXPECT_EQ(gTold[0].id, "VERI-1700");
        EXPECT_NE(gTold[0].text.find("'" + name + "'"), std::string::npos) << gTold[0].text;
    }
    // The good file restores again.
    veri_file::Reset();
    gTold.clear();
    veri_file::AddLibraryPath("pkgs", (dir / "pkgs").string().c_str());
    std::ofstream(file(name), std::ios::binary | std::ios::trunc) << good;
    EXPECT_NE(veri_file::GetLibrary("pkgs")->GetModule(name), nullptr);
    EXPECT_TRUE(gTold.empty());
}

// A package changed and saved again makes the units saved against it stale.
TEST_F(VeriStoreTest, UnitsSavedAgainstAnotherVersionAreRefused) {
    const std::string pkg = "package p; localparam int W = 8; typedef logic [W-1:0] word_t; endpackage\n";
    const std::string mod = "module m import p::*; (input word_t a, output word_t b); assign b = a; endmodule\n";
    ASSERT_TRUE(veri_file::AnalyzeText(pkg + mod, "pm.sv", SYSTEM_VERILOG, "lib"));
    veri_file::SetDefaultLibraryPath(dir.string().c_str());
    ASSERT_TRUE(veri_file::SaveLib("lib")) << (gTold.empty() ? "" : gTold[0].text);
    veri_file::Reset();
    veri_file::AddLibraryPath("lib", (dir / "lib").string().c_str());
    VeriModule* m = veri_file::GetModule("m", "lib");
    ASSERT_NE(m, nullptr);
    EXPECT_NE(veri_file::GetModule("p", "lib"), nullptr);
    EXPECT_TRUE(gTold.empty());

    veri_file::Reset();
    ASSERT_TRUE(
        veri_file::AnalyzeText("package p; localparam int W = 16; endpackage\n", "p2.sv", SYSTEM_VERILOG, "lib"));
    veri_file::SetDefaultLibraryPath(dir.string().c_str());
    ASSERT_TRUE(veri_file::Save("lib", "p"));
    veri_file::Reset();
    gTold.clear();
    veri_file::AddLibraryPath("lib", (dir / "lib").string().c_str());
    EXPECT_EQ(veri_file::GetModule("m", "lib"), nullptr);
    ASSERT_EQ(gTold.size(), 1u);
    EXPECT_NE(gTold[0].text.find("has changed"), std::string::npos) << gTold[0].text;
}

TEST(VeriStoreFileName, KeepsCaseAndOddCharactersApart) {
    EXPECT_NE(VeriStore::FileName("Foo"), VeriStore::FileName("foo"));
    EXPECT_EQ(VeriStore::FileName("$unit"), "%24unit.sdb");
    EXPECT_EQ(VeriStore::FileName("a/b").find('/'), std::string::npos);
    EXPECT_LT(VeriStore::FileName(std::string(500, 'x')).size(), 220u);
}

} // namespace
