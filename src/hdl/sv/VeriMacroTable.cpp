#include "hdl/sv/VeriMacroTable.h"

namespace hdl {

void VeriMacroTable::define(const VeriMacro& macro) {
    auto it = index_.find(macro.name);
    if (it != index_.end()) {
        macros_[it->second] = macro;
        return;
    }
    index_.emplace(macro.name, macros_.size());
    macros_.push_back(macro);
    live_.push_back(true);
}

std::string_view VeriMacroTable::own(std::string_view text) {
    owned_.push_back(std::make_unique<std::string>(text));
    return *owned_.back();
}

bool VeriMacroTable::undefine(std::string_view name) {
    auto it = index_.find(name);
    if (it == index_.end())
        return false;
    live_[it->second] = false;
    index_.erase(it);
    return true;
}

void VeriMacroTable::undefineAll() {
    for (size_t i = 0; i < macros_.size(); ++i) {
        if (live_[i] && !macros_[i].fromCommandLine) {
            live_[i] = false;
            index_.erase(macros_[i].name);
        }
    }
}

void VeriMacroTable::clear() {
    macros_.clear();
    live_.clear();
    index_.clear();
}

const VeriMacro* VeriMacroTable::find(std::string_view name) const {
    auto it = index_.find(name);
    return it == index_.end() ? nullptr : &macros_[it->second];
}

std::vector<const VeriMacro*> VeriMacroTable::definedMacros() const {
    std::vector<const VeriMacro*> out;
    for (size_t i = 0; i < macros_.size(); ++i)
        if (live_[i])
            out.push_back(&macros_[i]);
    return out;
}

} // namespace hdl
