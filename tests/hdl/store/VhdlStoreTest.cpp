// Saved VHDL libraries: real libraries (the standard packages, corpus projects) saved
// and restored give back the same trees with the same links, which resolution then
// recomputes alike; damaged, truncated, foreign or outdated files are refused with a
// reason and the unit stays absent.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <boost/filesystem.hpp>

#include "hdl/base/Message.h"
#include "hdl/store/VhdlStore.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlPrettyPrinter.h"
#include "hdl/vhdl/VhdlResolver.h"
#include "hdl/vhdl/VhdlVisitor.h"

using namespace hdl;

namespace {

const std::string kData = SIFT_DATA_DIR "/vhdl/src/";
const std::string kCorpus = SIFT_SHARED_DIR "/corpus/";

struct Source {
    std::string library;
    std::string path;
};

std::vector<Source> Std2008() {
    std::vector<Source> s;
    for (const char* f : {"std_2008/standard.vhd", "std_2008/textio.vhd", "std_2008/env.vhd"})
        s.push_back({"std", kData + f});
    for (const char* f : {"std_logic_1164",
                          "std_logic_1164-body",
                          "numeric_std",
                          "numeric_std-body",
                          "numeric_std_unsigned",
                          "numeric_std_unsigned-body",
                          "numeric_bit",
                          "numeric_bit-body",
                          "std_logic_textio",
                          "math_real",
                          "math_real-body",
                          "math_complex",
                          "math_complex-body",
                          "fixed_float_types",
                          "fixed_generic_pkg",
                          "fixed_generic_pkg-body",
                          "fixed_pkg",
                          "float_generic_pkg",
                          "float_generic_pkg-body",
                          "float_pkg",
                          "ieee_std_context"})
        s.push_back({"ieee", kData + "ieee_2008/" + f + ".vhdl"});
    return s;
}

// The sources of a corpus project in list order, of the given FILELIST language.
std::vector<Source> Corpus(const std::string& project, const std::string& lang) {
    std::vector<Source> s;
    std::ifstream list(kCorpus + project + "/FILELIST.tsv");
    for (std::string line; std::getline(list, line);) {
        std::istringstream cols(line);
        std::string l, lib, path;
        if (std::getline(cols, l, '\t') && l == lang && std::getline(cols, lib, '\t') && std::getline(cols, path))
            s.push_back({lib, kCorpus + project + "/" + path});
    }
    return s;
}

bool Available(const std::vector<Source>& sources) {
    for (const Source& s : sources)
        if (!boost::filesystem::exists(s.path)) return false;
    return !sources.empty();
}

// Links of every class as the store sees them: its Links() members.
template <class C, class = void>
struct HasOwnId : std::false_type {};
template <class C>
struct HasOwnId<C, std::void_t<typename C::SelfType>> : std::bool_constant<std::is_same_v<typename C::SelfType, C>> {};

using Describe = std::function<std::string(VhdlTreeNode*)>;

template <class F>
std::string LinkText(F& f, const Describe& describe) {
    if constexpr (std::is_pointer_v<F>) return describe(f);
    else if constexpr (std::is_same_v<F, std::string_view>) return "'" + std::string(f) + "'";
    else return std::to_string(f);
}

template <class C>
bool LinksOf(VhdlTreeNode& n, const Describe& describe, std::string& out) {
    if constexpr (HasOwnId<C>::value) {
        if (n.GetClassId() != C::kClassId) return false;
        std::apply([&](auto&... f) { ((out += LinkText(f, describe) + " "), ...); }, static_cast<C&>(n).Links());
        return true;
    }
    return false;
}

std::string AllLinks(VhdlTreeNode& n, const Describe& describe) {
    std::string out;
#define STORE_TEST_LINKS(Class, Base) \
    if (LinksOf<Class>(n, describe, out)) return out;
    VHDL_CLASSES(STORE_TEST_LINKS)
#undef STORE_TEST_LINKS
    return out;
}

struct Collect : VhdlVisitor {
    void PreVisit(VhdlTreeNode& n) override { order.push_back(&n); }
    std::vector<VhdlTreeNode*> order;
};

// Every unit of every library: its printed text, and the targets of its nodes'
// links by place (unit and walk position).
struct Snapshot {
    std::map<std::string, std::string> texts;
    std::map<std::string, std::vector<std::string>> links;
    size_t nodes = 0;

    static Snapshot Take() {
        Snapshot s;
        std::map<std::string, std::vector<VhdlTreeNode*>> walks;
        std::map<VhdlTreeNode*, std::string> places;
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
            for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
                std::vector<std::pair<std::string, VhdlDesignUnit*>> units{
                    {lib->Name() + "." + std::string(p->Name()), p}};
                for (VhdlSecondaryUnit* u : p->GetSecondaryUnits())
                    units.push_back({units[0].first + "(" + std::string(u->Name()) + ")", u});
                for (auto& [label, unit] : units) {
                    Collect c;
                    c.TraverseNode(unit);
                    for (size_t i = 0; i < c.order.size(); ++i) places[c.order[i]] = label + "#" + std::to_string(i);
                    walks[label] = c.order;
                    s.texts[label] = VhdlPrettyText(unit);
                }
            }
        }
        Describe describe = [&](VhdlTreeNode* t) -> std::string {
            if (!t) return "-";
            auto it = places.find(t);
            if (it != places.end()) return it->second;
            if (auto* id = dynamic_cast<VhdlIdDef*>(t)) return "outside:" + std::string(id->OrigName());
            return "outside?";
        };
        for (auto& [label, order] : walks) {
            std::vector<std::string>& out = s.links[label];
            for (VhdlTreeNode* n : order) out.push_back(AllLinks(*n, describe));
            s.nodes += order.size();
        }
        return s;
    }
};

class Scratch {
public:
    Scratch() {
        dir = (boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("sift-store-%%%%-%%%%"))
                  .string();
        boost::filesystem::create_directories(dir);
    }
    ~Scratch() {
        boost::system::error_code ec;
        boost::filesystem::remove_all(dir, ec);
    }
    std::string dir;
};

std::vector<std::string> gMessages;

void Collected(msg_type_t type, const char* id, const ColLineFile*, const char* format, va_list args) {
    char text[2048];
    std::vsnprintf(text, sizeof text, format, args);
    if (type == MSG_ERROR) gMessages.push_back(std::string(id ? id : "") + " " + text);
}

class VhdlStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        vhdl_file::Reset();
        gMessages.clear();
        Message::RegisterCallBackMsg(Collected);
    }
    void TearDown() override {
        vhdl_file::Reset();
        Message::RegisterCallBackMsg(nullptr);
    }
    static void Analyze(const std::vector<Source>& sources, unsigned mode) {
        for (const Source& s : sources) vhdl_file::Analyze(s.path.c_str(), s.library.c_str(), mode);
    }
    // Saves every library into `dir`, forgets everything, and attaches the saved
    // libraries again; returns the names of the primary units by library.
    static std::map<std::string, std::vector<std::string>> SaveAndAttach(const std::string& dir) {
        std::map<std::string, std::vector<std::string>> names;
        vhdl_file::SetDefaultLibraryPath(dir.c_str());
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
            EXPECT_TRUE(vhdl_file::SaveLib(lib->Name().c_str())) << lib->Name();
            for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) names[lib->Name()].push_back(std::string(p->Name()));
        }
        vhdl_file::Reset();
        for (const auto& [lib, units] : names) vhdl_file::AddLibraryPath(lib.c_str(), (dir + "/" + lib).c_str());
        return names;
    }
    static void RestoreAll(const std::map<std::string, std::vector<std::string>>& names) {
        for (const auto& [lib, units] : names)
            for (const std::string& u : units)
                EXPECT_NE(vhdl_file::GetLibrary(lib.c_str())->GetPrimUnit(u.c_str()), nullptr) << lib << "." << u;
    }

    // Round trip of real sources: the same texts and links, before and after
    // resolution runs again.
    void RoundTrip(const std::vector<Source>& sources, unsigned mode) {
        Analyze(sources, mode);
        vhdl_file::ResolveAll();
        ASSERT_TRUE(gMessages.empty()) << gMessages.front();
        Snapshot before = Snapshot::Take();
        Scratch scratch;
        auto names = SaveAndAttach(scratch.dir);
        RestoreAll(names);
        EXPECT_TRUE(gMessages.empty()) << (gMessages.empty() ? "" : gMessages.front());
        Snapshot after = Snapshot::Take();
        EXPECT_GT(before.nodes, 1000u);
        EXPECT_EQ(after.nodes, before.nodes);
        EXPECT_EQ(after.texts, before.texts);
        for (const auto& [label, links] : before.links) {
            ASSERT_EQ(after.links[label].size(), links.size()) << label;
            for (size_t i = 0; i < links.size(); ++i)
                ASSERT_EQ(after.links[label][i], links[i]) << label << " node " << i;
        }
        vhdl_file::ResolveAll();
        Snapshot again = Snapshot::Take();
        EXPECT_EQ(again.links, before.links);
    }
};

TEST_F(VhdlStoreTest, StandardLibrariesAndOsvvmComeBackWithTheirLinks) {
    std::vector<Source> sources = Std2008();
    std::vector<Source> osvvm = Corpus("osvvm", "vhdl08");
    if (!Available(sources) || !Available(osvvm)) GTEST_SKIP() << "standard sources or corpus absent";
    sources.insert(sources.end(), osvvm.begin(), osvvm.end());
    RoundTrip(sources, VHDL_2008);
}

TEST_F(VhdlStoreTest, Vhdl93ProjectComesBackWithItsLinks) {
    std::vector<Source> sources;
    for (const char* f : {"std/standard.vhd", "std/textio.vhd"}) sources.push_back({"std", kData + f});
    for (const char* f :
         {"ieee/distributable/std_logic_1164.vhd", "ieee/distributable/numeric_std.vhd", "ieee/dummy/math_real.vhd"})
        sources.push_back({"ieee", kData + f});
    std::vector<Source> poc = Corpus("poc", "vhdl93");
    std::vector<Source> microwatt = Corpus("microwatt", "vhdl08");
    if (!Available(sources) || !Available(poc)) GTEST_SKIP() << "standard sources or corpus absent";
    sources.insert(sources.end(), poc.begin(), poc.end());
    RoundTrip(sources, VHDL_93);
}

// The configurations, bindings and component instances of a small design.
TEST_F(VhdlStoreTest, BindingsAndConfigurationsComeBack) {
    Scratch scratch;
    const std::string text =
        "entity leaf is generic (w : natural := 4); port (a : in bit; y : out bit); end;\n"
        "architecture one of leaf is begin y <= a; end;\n"
        "architecture two of leaf is begin y <= not a; end;\n"
        "entity top is end;\n"
        "architecture rtl of top is\n"
        "  component leaf is generic (w : natural); port (a : in bit; y : out bit); end component;\n"
        "  for u1 : leaf use entity work.leaf(two);\n"
        "  signal s, t : bit;\n"
        "begin\n"
        "  u1 : leaf generic map (w => 8) port map (a => s, y => t);\n"
        "  u2 : entity work.leaf(one) port map (a => t, y => s);\n"
        "  g : for i in 0 to 1 generate u3 : leaf generic map (w => i) port map (a => s, y => open); end generate;\n"
        "end;\n"
        "configuration cfg of top is\n"
        "  for rtl\n"
        "    for g\n"
        "      for u3 : leaf use entity work.leaf(one); end for;\n"
        "    end for;\n"
        "  end for;\n"
        "end configuration;\n";
    std::ofstream(scratch.dir + "/d.vhd") << text;
    vhdl_file::Analyze((scratch.dir + "/d.vhd").c_str(), "work", VHDL_2008);
    ASSERT_TRUE(gMessages.empty()) << gMessages.front();
    Snapshot before = Snapshot::Take();
    auto names = SaveAndAttach(scratch.dir + "/lib");
    RestoreAll(names);
    Snapshot after = Snapshot::Take();
    EXPECT_EQ(after.texts, before.texts);
    EXPECT_EQ(after.links, before.links);
    VhdlLibrary* work = vhdl_file::GetLibrary("work");
    auto* cfg = dynamic_cast<VhdlConfigurationDecl*>(work->GetPrimUnit("cfg"));
    ASSERT_NE(cfg, nullptr);
    EXPECT_EQ(cfg->GetEntity(), work->GetPrimUnit("top"));
    auto* leaf = work->GetPrimUnit("leaf");
    // The primary unit leads to its last architecture: they came back together.
    EXPECT_EQ(leaf->pendingUnits, nullptr);
    // The last architecture analysed is the default binding; both came back in order.
    ASSERT_EQ(leaf->GetSecondaryUnits().size(), 2u);
    EXPECT_EQ(leaf->GetSecondaryUnit(nullptr), leaf->GetSecondaryUnit("two"));
    auto* entity = static_cast<VhdlEntityDecl*>(leaf);
    EXPECT_TRUE(entity->hasGenericClause);
    EXPECT_TRUE(entity->hasPortClause);
    EXPECT_EQ(entity->GetOwningLib(), work);
    EXPECT_EQ(leaf->GetSecondaryUnit("one")->GetOwningLib(), work);
}

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// A cipher that turns every byte of whole 16-byte blocks around, as the store's
// callers' ciphers work on blocks.
class Flip : public Protect {
public:
    unsigned encrypt(const char* in, char* out, unsigned n) override { return run(in, out, n); }
    unsigned decrypt(const char* in, char* out, unsigned n) override { return run(in, out, n); }
    unsigned GetBlockSize() const override { return 16; }

private:
    static unsigned run(const char* in, char* out, unsigned n) {
        for (unsigned i = 0; i < n / 16 * 16; ++i) out[i] = static_cast<char>(~in[i]);
        return n;
    }
};

class BrokenFiles : public VhdlStoreTest {
protected:
    void SetUp() override {
        VhdlStoreTest::SetUp();
        std::vector<Source> sources = Std2008();
        sources.resize(5); // std, and std_logic_1164 with its body
        if (!Available(sources)) GTEST_SKIP() << "standard sources absent";
        Analyze(sources, VHDL_2008);
        names = SaveAndAttach(scratch.dir);
        file = scratch.dir + "/ieee/std_logic_1164.vdb";
        good = ReadBytes(file);
        ASSERT_GT(good.size(), 1000u);
    }
    // Restores std_logic_1164 after a fresh attach; null when it was refused.
    VhdlPrimaryUnit* restore() {
        vhdl_file::Reset();
        for (const auto& [lib, units] : names)
            vhdl_file::AddLibraryPath(lib.c_str(), (scratch.dir + "/" + lib).c_str());
        gMessages.clear();
        return vhdl_file::GetLibrary("ieee")->GetPrimUnit("std_logic_1164");
    }
    // The one message of a refused restore, its reason after the file's name.
    std::string refusal() {
        EXPECT_EQ(restore(), nullptr);
        // Asked again: the refusal stands, and is not told twice.
        EXPECT_EQ(vhdl_file::GetLibrary("ieee")->GetPrimUnit("std_logic_1164"), nullptr);
        if (gMessages.size() != 1) {
            std::string all;
            for (const std::string& m : gMessages) all += "\n" + m;
            return "(" + std::to_string(gMessages.size()) + " messages)" + all;
        }
        const std::string prefix =
            "VHDL-1700 cannot restore unit 'std_logic_1164' of library 'ieee' from '" + file + "': ";
        EXPECT_EQ(gMessages[0].substr(0, prefix.size()), prefix);
        return gMessages[0].substr(std::min(prefix.size(), gMessages[0].size()));
    }

    Scratch scratch;
    std::map<std::string, std::vector<std::string>> names;
    std::string file;
    std::string good;
};

TEST_F(BrokenFiles, IntactFileRestoresAndEveryCutIsRefused) {
    ASSERT_NE(restore(), nullptr);
    EXPECT_TRUE(gMessages.empty());
    EXPECT_NE(vhdl_file::GetLibrary("std")->GetPrimUnit("standard", false), nullptr);
    for (size_t cut : {size_t(0), size_t(7), size_t(39), size_t(40), good.size() / 2, good.size() - 1}) {
        WriteBytes(file, good.substr(0, cut));
        const std::string why = refusal();
        EXPECT_TRUE(why.find("truncated") != std::string::npos || why.find("not a saved unit") != std::string::npos)
            << cut << ": " << why;
    }
}

// A package's body is read when first asked for, and a fault in it is found then: the
// package stays, the body is absent, and the fault is told once.
TEST_F(BrokenFiles, PackageBodyIsReadWhenAskedFor) {
    VhdlPrimaryUnit* unit = restore();
    ASSERT_NE(unit, nullptr);
    EXPECT_NE(unit->pendingUnits, nullptr);
    ASSERT_EQ(unit->GetSecondaryUnits().size(), 1u);
    EXPECT_EQ(unit->pendingUnits, nullptr);
    EXPECT_EQ(unit->GetSecondaryUnit(nullptr)->GetClassId(), VhdlPackageBody::kClassId);
    EXPECT_TRUE(gMessages.empty());
    // The same payload with a byte behind the body's last node, sealed anew.
    WriteBytes(file, StoreSeal(VhdlStore::Kind(), good.substr(40) + '\0', nullptr));
    unit = restore();
    ASSERT_NE(unit, nullptr);
    EXPECT_TRUE(gMessages.empty());
    EXPECT_TRUE(unit->GetSecondaryUnits().empty());
    ASSERT_EQ(gMessages.size(), 1u);
    EXPECT_EQ(gMessages[0], "VHDL-1700 cannot restore unit 'std_logic_1164' of library 'ieee' from '" + file +
                                "': the file has bytes after its last node");
    EXPECT_EQ(unit->GetSecondaryUnit("std_logic_1164"), nullptr);
    EXPECT_EQ(gMessages.size(), 1u);
    // The package itself stays in its library.
    EXPECT_EQ(vhdl_file::GetLibrary("ieee")->GetPrimUnit("std_logic_1164"), unit);
}

TEST_F(BrokenFiles, DamageVersionAndLayoutAreNamed) {
    std::string damaged = good;
    damaged[damaged.size() / 2] ^= 0x20;
    WriteBytes(file, damaged);
    EXPECT_EQ(refusal(), "the file is damaged (its checksum does not match)");
    std::string version = good;
    version[8] = 9;
    WriteBytes(file, version);
    EXPECT_EQ(refusal(),
              "the file has format version 9; this program reads version " + std::to_string(VhdlStore::Kind().version));
    std::string layout = good;
    layout[12] ^= 1;
    WriteBytes(file, layout);
    EXPECT_NE(refusal().find("written with another layout of the trees"), std::string::npos);
    WriteBytes(file, "-- not a saved unit, but a VHDL comment long enough for a header\n");
    EXPECT_EQ(refusal(), "the file is not a saved unit of this kind");
    // A unit saved under another name.
    WriteBytes(file, ReadBytes(scratch.dir + "/std/standard.vdb"));
    EXPECT_EQ(refusal(), "the file holds unit 'standard', not 'std_logic_1164'");
}

TEST_F(BrokenFiles, MissingOrChangedDependencyIsNamed) {
    boost::filesystem::remove(scratch.dir + "/std/standard.vdb");
    // std_logic_1164 uses textio, which needs standard: both are refused, each saying why.
    EXPECT_EQ(restore(), nullptr);
    ASSERT_EQ(gMessages.size(), 2u);
    EXPECT_NE(gMessages[0].find("cannot restore unit 'textio' of library 'std' from '" + scratch.dir +
                                "/std/textio.vdb': it needs unit std.standard, which is not there"),
              std::string::npos);
    EXPECT_NE(gMessages[1].find("/ieee/std_logic_1164.vdb': it needs unit std.textio, which is not there"),
              std::string::npos);
    // standard analysed anew from a changed source: the saved links no longer fit.
    vhdl_file::Reset();
    std::string changed = ReadBytes(kData + "std_2008/standard.vhd");
    changed.replace(changed.find("type boolean is (false, true);"), 30, "type boolean is (false, true, maybe);");
    WriteBytes(scratch.dir + "/standard.vhd", changed);
    vhdl_file::Analyze((scratch.dir + "/standard.vhd").c_str(), "std", VHDL_2008);
    vhdl_file::AddLibraryPath("std", (scratch.dir + "/std").c_str());
    vhdl_file::AddLibraryPath("ieee", (scratch.dir + "/ieee").c_str());
    gMessages.clear();
    EXPECT_EQ(vhdl_file::GetLibrary("ieee")->GetPrimUnit("std_logic_1164"), nullptr);
    ASSERT_EQ(gMessages.size(), 2u);
    EXPECT_NE(gMessages[0].find("'textio' of library 'std' from '" + scratch.dir +
                                "/std/textio.vdb': unit std.standard has changed since this one was saved"),
              std::string::npos)
        << gMessages[0];
}

TEST_F(BrokenFiles, EncipheredFilesNeedTheirCipher) {
    Flip flip;
    vhdl_file::Reset();
    Analyze(Std2008(), VHDL_2008);
    vhdl_file::SetDefaultLibraryPath(scratch.dir.c_str());
    vhdl_file::_protect = &flip;
    ASSERT_TRUE(vhdl_file::Save("ieee", "std_logic_1164"));
    vhdl_file::_protect = nullptr;
    const std::string sealed = ReadBytes(file);
    EXPECT_EQ(sealed.find("std_logic_1164", 40), std::string::npos); // no clear text
    EXPECT_EQ(refusal(), "the file is enciphered, and no cipher is enabled to read it");
    vhdl_file::Reset();
    for (const auto& [lib, units] : names) vhdl_file::AddLibraryPath(lib.c_str(), (scratch.dir + "/" + lib).c_str());
    vhdl_file::_protect = &flip;
    VhdlPrimaryUnit* unit = vhdl_file::GetLibrary("ieee")->GetPrimUnit("std_logic_1164");
    vhdl_file::_protect = nullptr;
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(unit->GetSecondaryUnits().size(), 1u);
}

TEST_F(BrokenFiles, SavingNeedsAUnitAndADirectory) {
    vhdl_file::Reset();
    gMessages.clear();
    EXPECT_FALSE(vhdl_file::Save("ieee", "std_logic_1164"));
    EXPECT_FALSE(vhdl_file::SaveLib("nowhere"));
    std::ofstream(scratch.dir + "/e.vhd") << "entity e is end;\n";
    vhdl_file::Analyze((scratch.dir + "/e.vhd").c_str(), "work", VHDL_93);
    EXPECT_FALSE(vhdl_file::Save("work", "e"));
    // A copy that elaboration made is not saved.
    vhdl_file::SetDefaultLibraryPath(scratch.dir.c_str());
    vhdl_file::GetLibrary("work")->GetPrimUnit("e")->originalName = "orig";
    EXPECT_FALSE(vhdl_file::Save("work", "e"));
    ASSERT_EQ(gMessages.size(), 4u);
    EXPECT_EQ(gMessages[3],
              "VHDL-1701 cannot save unit 'e' of library 'work': it is a copy that elaboration made of unit 'orig'; "
              "copies are not saved");
    EXPECT_EQ(gMessages[0], "VHDL-1701 cannot save unit 'std_logic_1164' of library 'ieee': there is no such unit");
    EXPECT_EQ(gMessages[1], "VHDL-1701 cannot save library 'nowhere': there is no such library");
    EXPECT_EQ(gMessages[2], "VHDL-1701 cannot save unit 'e' of library 'work': the library has no directory "
                            "(SetDefaultLibraryPath, AddLibraryPath)");
}

TEST(VhdlStoreNames, FileNamesKeepOnlyPlainCharacters) {
    EXPECT_EQ(VhdlStore::FileName("numeric_std"), "numeric_std.vdb");
    EXPECT_EQ(VhdlStore::FileName("\\a/b c\\"), "%5Ca%2Fb%20c%5C.vdb");
    std::string name = VhdlStore::FileName("\\" + std::string(300, 'x') + "\\");
    EXPECT_LT(name.size(), 220u);
    EXPECT_NE(name, VhdlStore::FileName("\\" + std::string(301, 'x') + "\\"));
}

} // namespace
