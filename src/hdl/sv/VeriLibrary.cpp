#include "hdl/sv/VeriLibrary.h"

#include <string>

#include "hdl/base/Message.h"
#include "hdl/sv/VeriParser.h"
#include "hdl/sv/VeriParserMessageIds.h"

namespace hdl {

namespace {
VeriUnitSource*& unitSource() {
    static VeriUnitSource* source = nullptr;
    return source;
}
} // namespace

VeriModule* VeriLibrary::GetModule(std::string_view name, bool restore) const {
    auto it = byName_.find(name);
    if (it != byName_.end()) return it->second;
    // Restoring fills the library as analysis would have: a look-up that finds it.
    if (restore && unitSource() && !name.empty()) return unitSource()->Restore(const_cast<VeriLibrary&>(*this), name);
    return nullptr;
}

VeriModule* VeriLibrary::AddModule(VeriModule* unit) {
    unit->library = this;
    std::string key(unit->Name());
    auto it = byName_.find(key);
    if (it == byName_.end()) {
        byName_.emplace(key, unit);
        modules_.push_back(unit);
        return nullptr;
    }
    VeriModule* previous = it->second;
    it->second = unit;
    for (VeriModule*& m : modules_) {
        if (m == previous) m = unit;
    }
    return previous;
}

namespace {

struct State {
    std::vector<std::unique_ptr<VeriLibrary>> owned;
    std::vector<VeriLibrary*> libraries;
    std::vector<std::string> includeDirs;
    std::vector<std::string> defines;
    std::vector<std::string> lOptions;
    bool ignoreTranslateOff = false;
    StreamCallBack streamCallBack = nullptr;
    veri_file::ReplaceCallBack replaceCallBack = nullptr;
};

State& state() {
    static State s;
    return s;
}

const char* languageName(unsigned mode) { return mode <= VERILOG_2K ? "Verilog" : "SystemVerilog"; }

unsigned preprocessorLanguage(unsigned mode) {
    if (mode >= VERILOG_95 && mode <= SYSTEM_VERILOG) return mode;
    return SYSTEM_VERILOG; // AMS, PSL and include files read as the newest revision
}

struct Source {
    std::string path;
    const std::string* text; // null: read `path` through the stream callback
};

bool analyze(const std::vector<Source>& sources, unsigned mode, const char* libraryName) {
    if (!IsVerilogLanguage(mode) && !IsIncludeLanguage(mode)) {
        Message::Tell<veri_msg::NotVerilogLanguage>(nullptr, mode);
        return false;
    }
    VeriLibrary* library = veri_file::GetLibrary(libraryName && *libraryName ? libraryName : "work", true);
    VeriPreprocessorOptions options;
    options.includeDirs = state().includeDirs;
    options.defines = state().defines;
    options.language = preprocessorLanguage(mode);
    options.streamCallBack = state().streamCallBack;
    options.ignoreTranslateOff = state().ignoreTranslateOff;
    VeriPreprocessor pp(options);
    bool ok = true;
    for (const Source& s : sources) {
        Message::Tell<veri_msg::AnalyzingFile>(nullptr, languageName(mode), s.path.c_str());
        if (s.text) pp.pushText(*s.text, s.path);
        else if (!pp.pushFile(s.path)) ok = false;
    }
    VeriParserHooks hooks;
    hooks.onUnit = [library](VeriModule* unit) {
        VeriModule* previous = library->AddModule(unit);
        if (!previous || unit->IsRootModule()) return;
        std::string name(unit->Name());
        ColLineFile where = unit->Linefile();
        Message::Tell<veri_msg::UnitReplacesEarlier>(&where, name.c_str(), library->GetName().c_str());
        if (state().replaceCallBack) state().replaceCallBack(previous, unit);
    };
    hooks.findPackage = [library](std::string_view name) -> VeriModule* {
        VeriModule* m = library->GetModule(name);
        if (m && m->IsPackage()) return m;
        for (VeriLibrary* lib : state().libraries) {
            m = lib->GetModule(name);
            if (m && m->IsPackage()) return m;
        }
        return nullptr;
    };
    VeriParser parser(pp, library->arena(), hooks);
    if (parser.parse() != 0) ok = false;
    return ok;
}

} // namespace

bool veri_file::Analyze(const char* path, unsigned mode, const char* library) {
    return analyze({{path ? path : "", nullptr}}, mode, library);
}

bool veri_file::AnalyzeMultipleFiles(const std::vector<std::string>& paths, unsigned mode, const char* library) {
    std::vector<Source> sources;
    for (const std::string& p : paths) sources.push_back({p, nullptr});
    return analyze(sources, mode, library);
}

bool veri_file::AnalyzeText(const std::string& text, const char* name, unsigned mode, const char* library) {
    return analyze({{name ? name : "<text>", &text}}, mode, library);
}

void veri_file::AddIncludeDir(const char* dir) {
    if (dir) state().includeDirs.emplace_back(dir);
}

void veri_file::ClearIncludeDirs() { state().includeDirs.clear(); }

void veri_file::DefineMacro(const char* name, const char* value) {
    if (!name) return;
    std::string def(name);
    if (value) def += std::string("=") + value;
    state().defines.push_back(def);
}

void veri_file::UndefineAllMacros() { state().defines.clear(); }

void veri_file::AddLOption(const char* library) {
    if (!library) return;
    for (const std::string& l : state().lOptions)
        if (l == library) return;
    state().lOptions.emplace_back(library);
}

const std::vector<std::string>& veri_file::GetLOptions() { return state().lOptions; }

void veri_file::SetIgnoreTranslateOff(bool ignore) { state().ignoreTranslateOff = ignore; }

void veri_file::RegisterFlexStreamCallBack(StreamCallBack callback) { state().streamCallBack = callback; }

StreamCallBack veri_file::GetFlexStreamCallBack() { return state().streamCallBack; }

void veri_file::RegisterReplaceCallBack(ReplaceCallBack callback) { state().replaceCallBack = callback; }

VeriModule* veri_file::GetModule(const char* name, const char* library) {
    if (!name) return nullptr;
    if (library) {
        VeriLibrary* lib = GetLibrary(library);
        return lib ? lib->GetModule(name) : nullptr;
    }
    for (VeriLibrary* lib : state().libraries) {
        if (VeriModule* m = lib->GetModule(name)) return m;
    }
    return nullptr;
}

VeriLibrary* veri_file::GetLibrary(const char* name, bool create) {
    if (!name) return nullptr;
    for (VeriLibrary* lib : state().libraries) {
        if (lib->GetName() == name) return lib;
    }
    if (!create) return nullptr;
    state().owned.push_back(std::make_unique<VeriLibrary>(name));
    state().libraries.push_back(state().owned.back().get());
    return state().libraries.back();
}

const std::vector<VeriLibrary*>& veri_file::AllLibraries() { return state().libraries; }

Protect* veri_file::_protect = nullptr;

void veri_file::SetUnitSource(VeriUnitSource* source) { unitSource() = source; }

void veri_file::Reset() {
    State& s = state();
    if (unitSource()) unitSource()->Forget();
    unitSource() = nullptr;
    _protect = nullptr;
    s.libraries.clear();
    s.owned.clear();
    VeriTreeNode::ForgetAllTrees();
    s.includeDirs.clear();
    s.defines.clear();
    s.lOptions.clear();
    s.ignoreTranslateOff = false;
    s.streamCallBack = nullptr;
    s.replaceCallBack = nullptr;
}

} // namespace hdl
