#include "hdl/sv/VeriMacroTable.h"

#include <algorithm>
#include <cstring>

#include "hdl/base/Language.h"
#include "hdl/sv/VeriLexTables.h"
#include "hdl/sv/VeriMacroExpander.h"

namespace hdl {

using namespace verilex;

bool readMacroDefinition(std::string_view s, size_t& p, VeriMacro& m) {
    if (p < s.size() && s[p] == '(') {
        m.functionLike = true;
        std::vector<VeriArgSpan> spans;
        if (scanMacroArgs(s, p, spans) != VeriArgScan::Ok) return false;
        for (const VeriArgSpan& sp : spans) {
            std::string_view formal = s.substr(sp.begin, sp.end - sp.begin);
            if (formal.empty() && spans.size() == 1) break;
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
    while (p < s.size() && isBlank(s[p])) ++p;
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
        if (c == '\n') break;
        if (c == '\\' && p + 1 < s.size() && (s[p + 1] == '\n' || s[p + 1] == '\r')) {
            p += s[p + 1] == '\r' && p + 2 < s.size() && s[p + 2] == '\n' ? 3 : 2;
            e = p;
            continue;
        }
        if (c == '"') {
            for (++p; p < s.size() && s[p] != '"' && s[p] != '\n'; ++p)
                if (s[p] == '\\') ++p;
            e = ++p;
            continue;
        }
        if (c == '/' && p + 1 < s.size() && s[p + 1] == '/') {
            // A line comment ends the body unless a continuation ends the comment.
            size_t nl = s.find('\n', p);
            size_t end = nl == std::string_view::npos ? s.size() : nl;
            size_t last = end;
            while (last > p && (s[last - 1] == '\r' || isBlank(s[last - 1]))) --last;
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
        if (!isBlank(c) && c != '\r') e = p;
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
        {"SV_COV_START", "0"},      {"SV_COV_STOP", "1"},    {"SV_COV_RESET", "2"},      {"SV_COV_CHECK", "3"},
        {"SV_COV_MODULE", "10"},    {"SV_COV_HIER", "11"},   {"SV_COV_ASSERTION", "20"}, {"SV_COV_FSM_STATE", "21"},
        {"SV_COV_STATEMENT", "22"}, {"SV_COV_TOGGLE", "23"}, {"SV_COV_OVERFLOW", "-2"},  {"SV_COV_ERROR", "-1"},
        {"SV_COV_NOCOV", "0"},      {"SV_COV_OK", "1"},      {"SV_COV_PARTIAL", "2"}};
    if (IsSystemVerilogLanguage(language)) {
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
        if (eq != std::string::npos) m.body = table.own(std::string_view(def).substr(eq + 1));
        m.fromCommandLine = true;
        table.define(m);
    }
}

namespace {

// From the first and the last eight bytes and the length, a few multiplies in all: a
// byte loop's chain of multiplies took longer than the rest of a look-up. Names that
// differ only in their middle share a hash and are told apart by the compare.
uint64_t hashName(std::string_view name) {
    const char* p = name.data();
    size_t n = name.size();
    uint64_t a = 0;
    uint64_t b = 0;
    if (n >= 8) {
        std::memcpy(&a, p, 8);
        std::memcpy(&b, p + n - 8, 8);
    } else if (n >= 4) {
        uint32_t x;
        uint32_t y;
        std::memcpy(&x, p, 4);
        std::memcpy(&y, p + n - 4, 4);
        a = x;
        b = y;
    } else if (n > 0) {
        a = uint64_t(uint8_t(p[0])) | uint64_t(uint8_t(p[n / 2])) << 8 | uint64_t(uint8_t(p[n - 1])) << 16;
    }
    uint64_t h = (a ^ (b * 0x9e3779b97f4a7c15ull) ^ n) * 0xff51afd7ed558ccdull;
    return h ^ (h >> 32);
}

} // namespace

size_t VeriMacroTable::probe(std::string_view name) const {
    size_t mask = index_.size() - 1;
    size_t firstGone = index_.size();
    for (size_t b = hashName(name) & mask;; b = (b + 1) & mask) {
        uint32_t e = index_[b];
        if (e == 0) return firstGone < index_.size() ? firstGone : b;
        if (e == kGone) {
            firstGone = std::min(firstGone, b);
            continue;
        }
        if (slots_[e - 1].macro->name == name) return b;
    }
}

void VeriMacroTable::rehash(size_t buckets) {
    index_.assign(buckets, 0);
    used_ = 0;
    for (size_t k = 0; k < slots_.size(); ++k) {
        if (!slots_[k].live) continue;
        size_t mask = buckets - 1;
        size_t b = hashName(slots_[k].macro->name) & mask;
        while (index_[b] != 0) b = (b + 1) & mask;
        index_[b] = uint32_t(k + 1);
        ++used_;
    }
}

void VeriMacroTable::insert(const VeriMacro* macro) {
    // At most half the buckets taken, removed entries counted, so that a probe ends.
    // Removed entries are dropped when they, not live ones, fill the buckets.
    if (index_.empty()) {
        // Room for the definitions of a file with a header or two without growing.
        slots_.reserve(64);
        rehash(256);
    } else if (2 * (used_ + 1) > index_.size()) {
        rehash(4 * (live_ + 1) > index_.size() ? 2 * index_.size() : index_.size());
    }
    size_t b = probe(macro->name);
    uint32_t e = index_[b];
    if (e != 0 && e != kGone) {
        slots_[e - 1].macro = macro;
        return;
    }
    used_ += e == 0 ? 1 : 0;
    slots_.push_back(Slot{macro, true});
    index_[b] = uint32_t(slots_.size());
    ++live_;
}

void VeriMacroTable::define(const VeriMacro& macro) {
    copies_.push_back(std::make_unique<VeriMacro>(macro));
    insert(copies_.back().get());
}

void VeriMacroTable::defineShared(const VeriMacro& macro) { insert(&macro); }

std::string_view VeriMacroTable::own(std::string_view text) {
    owned_.push_back(std::make_unique<std::string>(text));
    return *owned_.back();
}

bool VeriMacroTable::undefine(std::string_view name) {
    if (index_.empty()) return false;
    size_t b = probe(name);
    uint32_t e = index_[b];
    if (e == 0 || e == kGone) return false;
    slots_[e - 1].live = false;
    index_[b] = kGone;
    --live_;
    return true;
}

void VeriMacroTable::undefineAll() {
    for (Slot& slot : slots_)
        if (slot.live && !slot.macro->fromCommandLine) {
            slot.live = false;
            --live_;
        }
    if (!index_.empty()) rehash(index_.size());
}

void VeriMacroTable::clear() {
    slots_.clear();
    index_.clear();
    used_ = 0;
    live_ = 0;
    copies_.clear();
    // The copies of command-line texts go with the macros that viewed them, or a table
    // defined afresh at each skim would keep every earlier copy.
    owned_.clear();
}

const VeriMacro* VeriMacroTable::find(std::string_view name) const {
    if (index_.empty()) return nullptr;
    uint32_t e = index_[probe(name)];
    return e == 0 || e == kGone ? nullptr : slots_[e - 1].macro;
}

std::vector<const VeriMacro*> VeriMacroTable::definedMacros() const {
    std::vector<const VeriMacro*> out;
    for (const Slot& slot : slots_)
        if (slot.live) out.push_back(slot.macro);
    return out;
}

} // namespace hdl
