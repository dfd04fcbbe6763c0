#include "hdl/vhdl/VhdlLibrary.h"

#include <cctype>
#include <cstring>
#include <string>
#include <unordered_set>

#include "hdl/base/Arena.h"
#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlDuplicateCheck.h"
#include "hdl/vhdl/VhdlLexer.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlNameCheck.h"
#include "hdl/vhdl/VhdlParser.h"
#include "hdl/vhdl/VhdlResolver.h"

namespace hdl {

namespace {

std::string Key(std::string_view name, bool caseInsensitive) {
    std::string key(name);
    if (caseInsensitive && !(key.size() > 1 && key[0] == '\\')) {
        for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return key;
}

// The text and the trees of one analysed file; kept for the life of the process,
// since units in the libraries point into both.
struct AnalysedFile {
    std::string text;
    Arena arena;
};

struct State {
    StreamCallBack callback = nullptr;
    std::vector<std::unique_ptr<VhdlLibrary>> owned;
    std::vector<VhdlLibrary*> libraries;
    std::string workName = "work";
    std::vector<std::string> searchOrder;
    std::vector<VhdlReplacedUnit> replaced;
    std::vector<std::unique_ptr<AnalysedFile>> files;
    bool ignoreTranslateOff = false;
    VhdlUnitSource* source = nullptr;
    // The identifiers of skipped text, in lower case.
    std::unordered_set<std::string> skippedNames;
};

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool IsWordChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

void NoteSkippedNames(const std::vector<std::string_view>& skipped, std::unordered_set<std::string>& names) {
    std::string word;
    for (std::string_view text : skipped) {
        for (size_t i = 0; i < text.size();) {
            if (!IsWordChar(text[i])) {
                ++i;
                continue;
            }
            size_t b = i;
            while (i < text.size() && IsWordChar(text[i])) ++i;
            char first = text[b];
            if ((first >= '0' && first <= '9') || first == '_') continue;
            word.assign(text.substr(b, i - b));
            for (char& c : word)
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
            names.insert(word);
        }
    }
}

State& S() {
    static State state;
    return state;
}

std::string_view UnitName(const VhdlDesignUnit* unit) {
    return unit && unit->id ? unit->id->OrigName() : std::string_view();
}

// Name of the primary unit that a secondary unit belongs to.
std::string_view PrimaryNameOf(VhdlSecondaryUnit* unit) {
    if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(unit)) {
        auto* ref = dynamic_cast<VhdlIdRef*>(arch->entityName);
        return ref ? ref->text : std::string_view();
    }
    return UnitName(unit);
}

} // namespace

VhdlPrimaryUnit* VhdlLibrary::GetPrimUnit(const char* name, bool restore, bool caseInsensitive) const {
    if (!name) return nullptr;
    std::string key = Key(name, true);
    auto it = index_.find(key);
    VhdlPrimaryUnit* unit = nullptr;
    if (it != index_.end()) unit = units_[it->second];
    // Restoring fills the library as analysis would have: a look-up that finds it.
    else if (restore && S().source) unit = S().source->Restore(const_cast<VhdlLibrary&>(*this), key);
    if (!unit) return nullptr;
    if (!caseInsensitive && UnitName(unit) != name) return nullptr;
    return unit;
}

VhdlPrimaryUnit* VhdlLibrary::AddPrimUnit(VhdlPrimaryUnit* unit) {
    secondaryLists_.push_back(std::make_unique<std::vector<VhdlSecondaryUnit*>>());
    unit->secondaryUnits = secondaryLists_.back().get();
    unit->library = this;
    std::string key = Key(UnitName(unit), true);
    auto it = index_.find(key);
    if (it != index_.end()) {
        VhdlPrimaryUnit* old = units_[it->second];
        units_[it->second] = unit;
        return old;
    }
    index_.emplace(key, units_.size());
    units_.push_back(unit);
    return nullptr;
}

void VhdlLibrary::AddPendingUnits(VhdlPrimaryUnit* unit, std::unique_ptr<VhdlPendingUnits> pending) {
    unit->pendingUnits = pending.get();
    pending_.push_back(std::move(pending));
}

Protect* vhdl_file::_protect = nullptr;

void vhdl_file::SetUnitSource(VhdlUnitSource* source) { S().source = source; }

Arena& vhdl_file::NewTreeArena() {
    S().files.push_back(std::make_unique<AnalysedFile>());
    return S().files.back()->arena;
}

void vhdl_file::RegisterFlexStreamCallBack(StreamCallBack callback) { S().callback = callback; }
StreamCallBack vhdl_file::GetFlexStreamCallBack() { return S().callback; }

VhdlLibrary* vhdl_file::GetLibrary(const char* name, bool create) {
    if (!name) return nullptr;
    std::string key = Key(name, true);
    if (key == "work") key = Key(S().workName, true);
    for (VhdlLibrary* lib : S().libraries)
        if (lib->Name() == key) return lib;
    if (!create) return nullptr;
    S().owned.push_back(std::make_unique<VhdlLibrary>(key));
    S().libraries.push_back(S().owned.back().get());
    return S().libraries.back();
}

const std::vector<VhdlLibrary*>& vhdl_file::AllLibraries() { return S().libraries; }
VhdlLibrary* vhdl_file::GetWorkLib() { return GetLibrary(S().workName.c_str(), true); }
void vhdl_file::SetWorkLib(const char* name) { S().workName = name ? name : "work"; }

void vhdl_file::AddLOption(const char* library) {
    if (!library) return;
    std::string key = Key(library, true);
    for (const auto& l : S().searchOrder)
        if (l == key) return;
    S().searchOrder.push_back(key);
}
void vhdl_file::RemoveAllLOptions() { S().searchOrder.clear(); }
const std::vector<std::string>& vhdl_file::LOptions() { return S().searchOrder; }
const std::vector<VhdlReplacedUnit>& vhdl_file::ReplacedUnits() { return S().replaced; }
void vhdl_file::SetIgnoreTranslateOff(bool ignore) { S().ignoreTranslateOff = ignore; }
bool vhdl_file::IsSkippedName(std::string_view name) {
    const State& s = S();
    return !s.skippedNames.empty() && s.skippedNames.count(Lower(name));
}

void vhdl_file::Reset() {
    State& s = S();
    s.libraries.clear();
    s.owned.clear();
    s.workName = "work";
    s.searchOrder.clear();
    s.replaced.clear();
    s.ignoreTranslateOff = false;
    s.callback = nullptr;
    if (s.source) s.source->Forget();
    s.source = nullptr;
    s.files.clear();
    s.skippedNames.clear();
    _protect = nullptr;
    VhdlResolverForget();
}

namespace {

// `use lib.unit...` and `context lib.unit` of a context clause whose unit the library
// does not hold (yet): a misspelt unit, or one analysed later, as in a circular use.
// `work` is the library the unit goes into.
// Only libraries that exist are asked: a library that no file went into (a vendor
// library not given to the run) would otherwise flood the run with one error per use.
void reportMissingUnits(const VhdlDesignUnit& unit, VhdlLibrary* work) {
    for (VhdlTreeNode* item : unit.contextClause) {
        const VhdlNodeList* names = nullptr;
        if (auto* use = dynamic_cast<VhdlUseClause*>(item)) names = &use->names;
        else if (auto* context = dynamic_cast<VhdlContextReference*>(item)) names = &context->names;
        if (!names) continue;
        for (VhdlTreeNode* name : *names) {
            auto* sel = dynamic_cast<VhdlSelectedName*>(name);
            if (sel && dynamic_cast<VhdlSelectedName*>(sel->prefix)) sel = static_cast<VhdlSelectedName*>(sel->prefix);
            auto* libRef = sel ? dynamic_cast<VhdlIdRef*>(sel->prefix) : nullptr;
            auto* unitRef = sel ? dynamic_cast<VhdlIdRef*>(sel->suffix) : nullptr;
            if (!libRef || !unitRef || unitRef->resolved || !libRef->resolved ||
                libRef->resolved->GetClassId() != VhdlLibraryId::kClassId)
                continue;
            std::string libName(libRef->text);
            VhdlLibrary* lib = Key(libName, true) == "work" ? work : vhdl_file::GetLibrary(libName.c_str());
            if (!lib) continue;
            ColLineFile loc = unitRef->Linefile();
            Message::Tell<vhdl_msg::UnitNotAnalyzed>(&loc, std::string(unitRef->text).c_str(), lib->Name().c_str());
        }
    }
}

} // namespace

bool vhdl_file::Analyze(const char* path, const char* library, unsigned mode) {
    std::unique_ptr<SourceStream> stream = OpenSourceStream(S().callback, path);
    std::string text;
    if (!stream->is_open() || !stream->ReadAll(text)) {
        // At the file itself, so that the message is filed under the file it concerns.
        ColLineFile loc = LineFile::StartOf(path ? path : "");
        Message::Tell<vhdl_msg::CannotOpenVhdlFile>(&loc, path ? path : "");
        return false;
    }
    return AnalyzeText(text, path, library, mode);
}

bool vhdl_file::AnalyzeText(const std::string& text, const char* name, const char* library, unsigned mode) {
    State& s = S();
    s.replaced.clear();
    if (!IsVhdlLanguage(mode)) mode = VHDL_93;
    const char* libName = library && *library ? library : "work";
    uint32_t fileId = LineFile::GetFileId(name ? name : "");
    ColLineFile fileLoc(fileId, 1, 1);
    Message::Tell<vhdl_msg::AnalyzingFile>(&fileLoc, name ? name : "", libName);
    if (LooksBinary(text)) {
        Message::Tell<vhdl_msg::NotTextFile>(&fileLoc, name ? name : "");
        return false;
    }
    s.files.push_back(std::make_unique<AnalysedFile>());
    AnalysedFile& file = *s.files.back();
    file.text = text;
    uint32_t errorsBefore = Message::ErrorCount();

    VhdlLexer lexer(file.text, fileId, mode);
    lexer.SetIgnorePragmas(s.ignoreTranslateOff);
    VhdlParser parser(file.arena, file.text, lexer.Tokenize(), fileId, mode);
    std::vector<VhdlDesignUnit*> units = parser.ParseDesignFile();
    NoteSkippedNames(lexer.SkippedText(), s.skippedNames);
    NoteSkippedNames(parser.DroppedText(), s.skippedNames);
    bool clean = lexer.ErrorCount() == 0 && parser.ErrorCount() == 0;

    VhdlLibrary* lib = GetLibrary(libName, true);
    for (VhdlDesignUnit* unit : units) {
        unit->languageMode = mode;
        if (!unit->id) continue;
        if (auto* primary = dynamic_cast<VhdlPrimaryUnit*>(unit)) {
            if (VhdlPrimaryUnit* old = lib->AddPrimUnit(primary)) {
                s.replaced.push_back({lib->Name(), std::string(UnitName(primary)), "", old, primary});
                ColLineFile loc = primary->Linefile();
                Message::Tell<vhdl_msg::ReanalyzingUnit>(&loc, std::string(UnitName(primary)).c_str(),
                                                         lib->Name().c_str());
            }
            continue;
        }
        auto* secondary = static_cast<VhdlSecondaryUnit*>(unit);
        std::string primaryName(PrimaryNameOf(secondary));
        VhdlPrimaryUnit* primary = lib->GetPrimUnit(primaryName.c_str());
        if (!primary) {
            ColLineFile loc = unit->Linefile();
            Message::Tell<vhdl_msg::PrimaryNotAnalyzed>(&loc, primaryName.c_str(), lib->Name().c_str());
            clean = false;
            continue;
        }
        secondary->library = lib;
        if (VhdlSecondaryUnit* old = primary->AddSecondaryUnit(secondary)) {
            s.replaced.push_back(
                {lib->Name(), std::string(UnitName(primary)), std::string(UnitName(secondary)), old, secondary});
        }
    }
    for (VhdlDesignUnit* unit : units) {
        if (unit->library || dynamic_cast<VhdlPrimaryUnit*>(unit)) {
            VhdlResolveUnit(unit, lib);
            reportMissingUnits(*unit, lib);
            VhdlReportUndeclaredNames(*unit, clean);
            if (clean) VhdlReportDuplicateDeclarations(*unit);
        }
    }
    return clean && Message::ErrorCount() == errorsBefore;
}

void vhdl_file::ResolveAll() {
    for (VhdlLibrary* lib : S().libraries) {
        for (VhdlPrimaryUnit* unit : lib->PrimaryUnits()) {
            VhdlResolveUnit(unit, lib);
            for (VhdlSecondaryUnit* secondary : unit->GetSecondaryUnits()) VhdlResolveUnit(secondary, lib);
        }
    }
}

} // namespace hdl
