#include "hdl/elab/VeriConfigBinding.h"

#include "hdl/elab/VeriElaborator.h"
#include "hdl/sv/VeriLibrary.h"

namespace hdl {

namespace {

std::string_view LibraryOf(const VeriExpression* cell) {
    auto* sn = dynamic_cast<const VeriScopeName*>(cell);
    return sn && sn->prefix ? sn->prefix->GetName() : std::string_view();
}

std::vector<std::string> Liblist(const VeriConfigRule* rule) {
    std::vector<std::string> libs;
    for (const VeriExpression* l : rule->liblist) libs.push_back(std::string(l->GetName()));
    return libs;
}

VeriModule* Usable(VeriModule* m) {
    return m && !m->IsPackage() && !m->IsConfiguration() && !m->IsRootModule() ? m : nullptr;
}

// A cell by the library list in force: the libraries of the list in order, else the
// usual lookup from the instantiating unit.
VeriModule* Lookup(const std::vector<std::string>& liblist, std::string_view library, std::string_view name,
                   const VeriModule* from, std::string& libraryAsked) {
    if (!library.empty() || liblist.empty()) {
        libraryAsked = std::string(library);
        return VeriFindModule(name, library, from);
    }
    for (const std::string& l : liblist) {
        VeriLibrary* lib = veri_file::GetLibrary(l.c_str());
        if (VeriModule* m = lib ? Usable(lib->GetModule(name)) : nullptr) {
            libraryAsked = l;
            return m;
        }
    }
    libraryAsked = liblist.front();
    return nullptr;
}

const VeriConfiguration* FindConfiguration(std::string_view library, std::string_view name) {
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        if (!library.empty() && lib->GetName() != library) continue;
        VeriModule* c = lib->GetModule(name);
        if (c && c->IsConfiguration()) return static_cast<const VeriConfiguration*>(c);
    }
    return nullptr;
}

} // namespace

std::string VeriConfigRulePath(const VeriConfigRule* rule) {
    std::vector<std::string_view> parts;
    for (const VeriExpression* e = rule->target; e;) {
        if (auto* s = dynamic_cast<const VeriSelectedName*>(e)) {
            parts.push_back(std::string_view(s->suffix));
            e = s->prefix;
            continue;
        }
        parts.push_back(e->GetName());
        break;
    }
    std::string path;
    for (size_t i = parts.size(); i-- > 0;) {
        path += parts[i];
        if (i) path += '.';
    }
    return path;
}

VeriConfigState VeriConfigTopState(const VeriConfiguration* config, std::string_view cell) {
    VeriConfigState state;
    state.config = config;
    state.path = std::string(cell);
    for (const VeriModuleItem* item : config->items) {
        auto* rule = dynamic_cast<const VeriConfigRule*>(item);
        if (dynamic_cast<const VeriDefaultConfig*>(rule) && state.liblist.empty()) state.liblist = Liblist(rule);
    }
    return state;
}

VeriConfigChoice VeriConfigBind(const VeriConfigState& state, const std::string& instName, std::string_view library,
                                std::string_view name, const VeriModule* from) {
    VeriConfigChoice choice;
    choice.name = std::string(name);
    choice.below = state;
    choice.below.path = state.path + "." + instName;
    // The first instance rule for the path, else the first cell rule for the cell.
    const VeriConfigRule* instanceRule = nullptr;
    const VeriConfigRule* cellRule = nullptr;
    std::string defaultLibrary;
    VeriModule* byDefault = nullptr;
    bool defaultLooked = false;
    for (const VeriModuleItem* item : state.config->items) {
        auto* rule = dynamic_cast<const VeriConfigRule*>(item);
        if (!rule || dynamic_cast<const VeriDefaultConfig*>(rule)) continue;
        if (dynamic_cast<const VeriInstanceConfig*>(rule)) {
            if (!instanceRule && VeriConfigRulePath(rule) == choice.below.path) instanceRule = rule;
            continue;
        }
        if (cellRule || !rule->target || rule->target->GetName() != name) continue;
        // `cell lib.c` selects the cell c where it comes from lib.
        std::string_view ruleLibrary = LibraryOf(rule->target);
        if (!ruleLibrary.empty()) {
            if (!defaultLooked) {
                byDefault = Lookup(state.liblist, library, name, from, defaultLibrary);
                defaultLooked = true;
            }
            std::string found =
                byDefault && byDefault->GetLibrary() ? byDefault->GetLibrary()->GetName() : std::string();
            if (found != ruleLibrary) continue;
        }
        cellRule = rule;
    }
    const VeriConfigRule* rule = instanceRule ? instanceRule : cellRule;
    choice.rule = rule;
    if (rule && rule->hasLiblist) {
        choice.below.liblist = Liblist(rule);
        choice.module = Lookup(choice.below.liblist, library, name, from, choice.library);
        return choice;
    }
    if (rule && rule->use && rule->use->cell) {
        std::string_view useLibrary = LibraryOf(rule->use->cell);
        choice.name = std::string(rule->use->cell->GetName());
        if (rule->use->isConfig) {
            // Another configuration takes over: its design cell, its rules below.
            const VeriConfiguration* sub = FindConfiguration(useLibrary, choice.name);
            const VeriExpression* cell = sub && !sub->designCells.Empty() ? sub->designCells[0] : nullptr;
            if (!cell) {
                choice.library = std::string(useLibrary);
                return choice;
            }
            choice.name = std::string(cell->GetName());
            choice.library = std::string(LibraryOf(cell));
            choice.module = VeriFindModule(choice.name, choice.library, sub);
            choice.below = VeriConfigTopState(sub, choice.name);
            return choice;
        }
        choice.module = Lookup(state.liblist, useLibrary, choice.name, from, choice.library);
        return choice;
    }
    if (defaultLooked) {
        choice.module = byDefault;
        choice.library = defaultLibrary;
        return choice;
    }
    choice.module = Lookup(state.liblist, library, name, from, choice.library);
    return choice;
}

bool VeriConfigRulesBelow(const VeriConfigState& state) {
    if (!state.config) return false;
    for (const VeriModuleItem* item : state.config->items) {
        auto* rule = dynamic_cast<const VeriConfigRule*>(item);
        if (!dynamic_cast<const VeriInstanceConfig*>(rule)) continue;
        std::string path = VeriConfigRulePath(rule);
        if (path.size() > state.path.size() && path.compare(0, state.path.size(), state.path) == 0 &&
            path[state.path.size()] == '.')
            return true;
    }
    return false;
}

} // namespace hdl
