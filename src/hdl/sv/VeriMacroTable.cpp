#include "hdl/sv/VeriMacroTable.h"

#include <algorithm>

#include "hdl/sv/VeriLexTables.h"
#include "hdl/sv/VeriMacroExpander.h"

namespace hdl {

using namespace verilex;

bool readMacroDefinition(std::string_view s, size_t& p, VeriMacro& m) {
    if (p < s.size() && s[p] == '(') {
        m.functionLike = true;
        std::vector<VeriArgSpan> spans;
        if (scanMacroArgs(s, p, spans) != VeriArgScan::Ok)
            return false;
        for (const VeriArgSpan& sp : spans) {
            std::string_view formal = s.substr(sp.begin, sp.end - sp.begin);
            if (formal.empty() && spans.size() == 1)
                break;
            VeriMacroParam param;
            size_t eq = formal.find('=');
            param.name = trim(formal.substr(0, eq));
            if (eq != std::string_view::npos) {
                param.hasDefault = true;
                param.defaultText = trim(formal.substr(eq + 1));
            }
            m.params.push_back(param);
        }
    }
    while (p < s.size() && isBlank(s[p]))
        ++p;
    size_t b = p;
    size_t e = p; // end of the last text that belongs to the body
    while (p < s.size()) {
        char c = s[p];
        uint8_t cls = kDefineBodyClass.of[static_cast<unsigned char>(c)];
        if (cls == kBodyText) {
            e = ++p;
            continue;
        }
        if (cls == kBodyBlank) {
            ++p;
            continue;
        }
        if (c == '\n')
            break;
        if (c == '\\' && p + 1 < s.size() && (s[p + 1] == '\n' || s[p + 1] == '\r')) {
            p += s[p + 1] == '\r' && p + 2 < s.size() && s[p + 2] == '\n' ? 3 : 2;
            e = p;
            continue;
        }
        if (c == '"') {
            for (++p; p < s.size() && s[p] != '"' && s[p] != '\n'; ++p)
                if (s[p] == '\\')
                    ++p;
            e = ++p;
            continue;
        }
        if (c == '/' && p + 1 < s.size() && s[p + 1] == '/') {
            // A line comment ends the body unless a continuation ends the comment.
            size_t nl = s.find('\n', p);
            size_t end = nl == std::string_view::npos ? s.size() : nl;
            size_t last = end;
            while (last > p && (s[last - 1] == '\r' || isBlank(s[last - 1])))
                --last;
            if (last > p && s[last - 1] == '\\' && end < s.size()) {
                p = end + 1;
                e = p;
                continue;
            }
            p = end;
            break;
        }
        if (c == '/' && p + 1 < s.size() && s[p + 1] == '*') {
            size_t close = s.find("*/", p + 2);
            p = close == std::string_view::npos ? s.size() : close + 2;
            e = p;
            continue;
        }
        ++p;
        if (!isBlank(c) && c != '\r')
            e = p;
    }
    // A string or comment that runs past the end leaves p beyond it.
    p = std::min(p, s.size());
    m.body = s.substr(b, std::min(e, s.size()) - b);
    m.pieces = std::make_shared<const std::vector<VeriBodyPiece>>(cutMacroBody(m));
    return true;
}

void predefineMacros(VeriMacroTable& table, unsigned language, const std::vector<std::string>& defines) {
    // SystemVerilog predefines the coverage control constants (IEEE 1800-2017 40.3.1).
    static constexpr std::pair<const char*, const char*> coverage[] = {
        {"SV_COV_START", "0"},      {"SV_COV_STOP", "1"},       {"SV_COV_RESET", "2"},
        {"SV_COV_CHECK", "3"},      {"SV_COV_MODULE", "10"},    {"SV_COV_HIER", "11"},
        {"SV_COV_ASSERTION", "20"}, {"SV_COV_FSM_STATE", "21"}, {"SV_COV_STATEMENT", "22"},
        {"SV_COV_TOGGLE", "23"},    {"SV_COV_OVERFLOW", "-2"},  {"SV_COV_ERROR", "-1"},
        {"SV_COV_NOCOV", "0"},      {"SV_COV_OK", "1"},         {"SV_COV_PARTIAL", "2"}};
    if (language >= 3) {
        for (const auto& [name, value] : coverage) {
            VeriMacro m;
            m.name = name;
            m.body = value;
            table.define(m);
        }
    }
    for (const std::string& def : defines) {
        size_t eq = def.find('=');
        VeriMacro m;
        m.name = table.own(std::string_view(def).substr(0, eq));
        if (eq != std::string::npos)
            m.body = table.own(std::string_view(def).substr(eq + 1));
        m.fromCommandLine = true;
        table.define(m);
    }
}

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
    // The copies of command-line texts go with the macros that viewed them, or a table
    // defined afresh at each skim would keep every earlier copy.
    owned_.clear();
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
