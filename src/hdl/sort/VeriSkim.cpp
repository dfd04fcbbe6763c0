#include "hdl/sort/VeriSkim.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "hdl/base/Language.h"

namespace hdl {
namespace {

bool isName(const VeriSkimToken& t) { return t.kind == VT_IDENTIFIER || t.kind == VT_ESCAPED_IDENTIFIER; }

// An escaped identifier names the same object as its plain spelling.
std::string_view nameView(const VeriSkimToken& t) {
    std::string_view s = t.text();
    if (t.kind == VT_ESCAPED_IDENTIFIER && !s.empty() && s[0] == '\\') s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

std::string nameText(const VeriSkimToken& t) { return std::string(nameView(t)); }

// The end keyword that closes a unit opened by `kind`, or 0 when it opens none.
inline uint16_t endKindOf(uint16_t kind) {
    switch (kind) {
    case VT_MODULE:
    case VT_MACROMODULE: return VT_ENDMODULE;
    case VT_INTERFACE: return VT_ENDINTERFACE;
    case VT_PROGRAM: return VT_ENDPROGRAM;
    case VT_PACKAGE: return VT_ENDPACKAGE;
    case VT_PRIMITIVE: return VT_ENDPRIMITIVE;
    case VT_CONFIG: return VT_ENDCONFIG;
    case VT_CLASS: return VT_ENDCLASS;
    case VT_CHECKER: return VT_ENDCHECKER;
    default: return 0;
    }
}

// Inside a unit, what the recogniser does at a token: pass it; act on it (unit
// keywords and their ends, `bind` and the cells of a configuration); or, for a name,
// act only when the next token is `::`, `#` or a name, since only a package prefix or
// an instantiation starts that way, or when it is `(` and the name starts an item, as
// an unnamed gate or UDP instance does. Most names are passed with the rest.
// Each kind has a class of three bits; the classes of the previous, the current and
// the next token index one table, so that the test at each token is one look-up.
enum InsideClass : uint8_t { PASS, ACT, NAME, STARTS_NAME, PAREN, BEFORE_ITEM };

struct InsideKinds {
    uint8_t of[VT_KIND_COUNT] = {};
    bool acts[512] = {};
    constexpr InsideKinds() {
        for (uint16_t k : {VT_MODULE,     VT_MACROMODULE,  VT_INTERFACE, VT_PROGRAM,   VT_PACKAGE,      VT_PRIMITIVE,
                           VT_CONFIG,     VT_CLASS,        VT_CHECKER,   VT_ENDMODULE, VT_ENDINTERFACE, VT_ENDPROGRAM,
                           VT_ENDPACKAGE, VT_ENDPRIMITIVE, VT_ENDCONFIG, VT_ENDCLASS,  VT_ENDCHECKER,   VT_BIND,
                           VT_DESIGN,     VT_USE,          VT_EOF})
            of[k] = ACT;
        // Tokens after which a module item may start.
        for (uint16_t k : {VT_SEMI, VT_BEGIN, VT_END, VT_GENERATE, VT_ENDGENERATE, VT_ELSE, VT_RPAREN, VT_COLON,
                           VT_ATTR_CLOSE, VT_ENDCASE, VT_ENDFUNCTION, VT_ENDTASK})
            of[k] = BEFORE_ITEM;
        for (uint16_t k : {VT_IDENTIFIER, VT_ESCAPED_IDENTIFIER}) of[k] = NAME;
        for (uint16_t k : {VT_SCOPE, VT_HASH}) of[k] = STARTS_NAME;
        of[VT_LPAREN] = PAREN;
        for (unsigned prev = 0; prev < 8; ++prev)
            for (unsigned next = 0; next < 8; ++next) {
                acts[window(prev, ACT, next)] = true;
                // A name before a name is the label of a block.
                acts[window(prev, NAME, next)] =
                    next == NAME || next == STARTS_NAME || (next == PAREN && (prev == BEFORE_ITEM || prev == NAME));
            }
    }
    static constexpr unsigned window(unsigned prev, unsigned current, unsigned next) {
        return prev << 6 | current << 3 | next;
    }
    // A kind the table does not know stops the recogniser.
    uint8_t at(uint16_t kind) const { return kind < VT_KIND_COUNT ? of[kind] : uint8_t(ACT); }
};
constexpr InsideKinds kInsideKinds;

// Tokens after which a module item may start, so that `name name (` is an instance.
bool startsItem(uint16_t kind) { return kInsideKinds.at(kind) == BEFORE_ITEM; }

class VeriSkimmer {
public:
    VeriSkimmer(const std::vector<VeriSkimToken>& tokens, FileElement& element) : t_(tokens), e_(element) {}

    void run() {
        while (i_ < t_.size() && t_[i_].kind != VT_EOF) {
            if (ends_.empty()) topLevel();
            else insideUnit();
        }
    }

private:
    const VeriSkimToken& at(size_t k) const {
        static const VeriSkimToken eof{VT_EOF, {}};
        return k < t_.size() ? t_[k] : eof;
    }
    uint16_t kindAt(size_t k) const { return at(k).kind; }
    uint16_t prevKind() const { return i_ > 0 ? t_[i_ - 1].kind : uint16_t(VT_SEMI); }

    // Index after the bracket group that opens at `k` (one of ( [ {).
    size_t skipGroup(size_t k) const {
        int depth = 0;
        for (; k < t_.size() && t_[k].kind != VT_EOF; ++k) {
            uint16_t kind = t_[k].kind;
            if (kind == VT_LPAREN || kind == VT_LBRACKET || kind == VT_LBRACE || kind == VT_APOSTROPHE_LBRACE) ++depth;
            else if (kind == VT_RPAREN || kind == VT_RBRACKET || kind == VT_RBRACE) {
                if (--depth <= 0) return k + 1;
            }
        }
        return k;
    }

    void topLevel() {
        const VeriSkimToken& t = t_[i_];
        if (t.kind == VT_EXTERN && endKindOf(kindAt(i_ + 1)) && kindAt(i_ + 1) != VT_CLASS) {
            // A prototype names the unit for instances that precede its body.
            size_t k = i_ + 2;
            while (kindAt(k) == VT_STATIC || kindAt(k) == VT_AUTOMATIC) ++k;
            if (isName(at(k))) e_.units.push_back(SortUnit{"extern module " + nameText(at(k)), {}});
            skipPastNoting(VT_SEMI);
            return;
        }
        if (t.kind == VT_TYPEDEF) {
            skipPastNoting(VT_SEMI);
            return;
        }
        if (endKindOf(t.kind) && !(t.kind == VT_INTERFACE && prevKind() == VT_VIRTUAL)) {
            openUnit(true);
            return;
        }
        noteReference();
        ++i_;
    }

    void insideUnit() {
        size_t i = i_;
        unsigned prev = i > 0 ? kInsideKinds.at(t_[i - 1].kind) : unsigned(BEFORE_ITEM);
        unsigned w = InsideKinds::window(0, prev, kInsideKinds.at(t_[i].kind));
        for (; i + 1 < t_.size(); ++i) {
            w = (w << 3 | kInsideKinds.at(t_[i + 1].kind)) & 511;
            if (kInsideKinds.acts[w]) break;
        }
        i_ = i;
        const VeriSkimToken& t = t_[i_];
        if (t.kind == VT_EOF) return;
        if (isName(t)) {
            if (!noteReference() && (startsItem(prevKind()) || afterBlockName())) instancesHere();
            ++i_;
            return;
        }
        if (t.kind == ends_.back()) {
            ends_.pop_back();
            if (ends_.empty()) unit_ = -1;
            ++i_;
            return;
        }
        if (endKindOf(t.kind) && t.kind != VT_CONFIG && prevKind() != VT_VIRTUAL && prevKind() != VT_TYPEDEF &&
            prevKind() != VT_EXTERN && !(t.kind == VT_INTERFACE && kindAt(i_ + 1) == VT_CLASS)) {
            openUnit(false);
            return;
        }
        if (t.kind == VT_BIND && isName(at(i_ + 1))) {
            e_.references.push_back(SortReference{"work", nameText(at(i_ + 1)), "", SORT_REF_BIND_TARGET});
            i_ += 2;
            return;
        }
        if (ends_.back() == VT_ENDCONFIG && (t.kind == VT_DESIGN || t.kind == VT_USE)) {
            configCells();
            return;
        }
        ++i_;
    }

    // `begin : name` ends in a name after which items start too.
    bool afterBlockName() const { return i_ >= 2 && isName(t_[i_ - 1]) && t_[i_ - 2].kind == VT_COLON; }

    // Passes what a prototype or a type definition holds, up to and past `kind`, with
    // the packages it names (`typedef pkg::t t;`, `extern module m #(W = pkg::A) ...`).
    void skipPastNoting(uint16_t kind) {
        size_t from = i_;
        while (i_ < t_.size() && t_[i_].kind != VT_EOF && t_[i_].kind != kind) ++i_;
        notePackagesIn(from, i_);
        ++i_;
    }

    void notePackagesIn(size_t from, size_t to) {
        for (size_t k = from; k < to; ++k)
            if (isName(t_[k]) && (k == 0 || t_[k - 1].kind != VT_SCOPE) &&
                (kindAt(k + 1) == VT_SCOPE ||
                 (kindAt(k + 1) == VT_HASH && kindAt(k + 2) == VT_LPAREN && kindAt(skipGroup(k + 2)) == VT_SCOPE)))
                notePackage(nameView(t_[k]));
    }

    void openUnit(bool topLevel) {
        uint16_t kind = t_[i_].kind;
        uint16_t end = endKindOf(kind);
        ++i_;
        if (kind == VT_INTERFACE && kindAt(i_) == VT_CLASS) {
            end = VT_ENDCLASS;
            kind = VT_CLASS;
            ++i_;
        }
        while (kindAt(i_) == VT_STATIC || kindAt(i_) == VT_AUTOMATIC) ++i_;
        ends_.push_back(end);
        if (!topLevel || !isName(at(i_))) return;
        std::string name = nameText(t_[i_]);
        e_.declare(name);
        if (kind == VT_PRIMITIVE) e_.primitives.push_back(name);
        // Classes and checkers are no design units of the hierarchy.
        if (kind != VT_CLASS && kind != VT_CHECKER) {
            unit_ = static_cast<int>(e_.units.size());
            e_.units.push_back(SortUnit{name, {}});
        }
        ++i_;
    }

    // `p::` names a package; `std::` is the language's own. Asked at every name, so the
    // test that rules most of them out comes first and stays small enough to inline.
    bool noteReference() {
        uint16_t next = kindAt(i_ + 1);
        if (next != VT_SCOPE && next != VT_HASH) return false;
        if (!isName(t_[i_]) || prevKind() == VT_SCOPE) return false;
        // A class specialisation: `C#(T)::x` names C as `C::x` does.
        if (next == VT_HASH && (kindAt(i_ + 2) != VT_LPAREN || kindAt(skipGroup(i_ + 2)) != VT_SCOPE)) return false;
        return notePackage(nameView(t_[i_]));
    }

    bool notePackage(std::string_view name) {
        // A file names few packages, mostly again and again: a list beats a hash set
        // built per file, and a name met before is known to be a package.
        if (std::find(packagesSeen_.begin(), packagesSeen_.end(), name) != packagesSeen_.end()) return true;
        if (name == "$unit" || name == "local" || name == "super" || name == "this") return false;
        packagesSeen_.push_back(name);
        e_.references.push_back(
            SortReference{"work", std::string(name), "", name == "std" ? uint32_t(SORT_REF_IMPLICIT) : 0u});
        return true;
    }

    // At `name`: `name [(strength)] [#(...)|#x] [inst [ranges]] (...) {, [inst [ranges]] (...)}`.
    // An instance without a name is a gate's or a UDP's; the same text in a procedure
    // calls a task, so it stays a candidate, and the tokens of its parentheses are read.
    bool instancesHere() {
        if (unit_ < 0 ||
            (ends_.back() != VT_ENDMODULE && ends_.back() != VT_ENDINTERFACE && ends_.back() != VT_ENDPROGRAM))
            return false;
        // The label of a block (`begin : name`, `end : name`) names no unit.
        if (i_ >= 2 && t_[i_ - 1].kind == VT_COLON && (t_[i_ - 2].kind == VT_BEGIN || t_[i_ - 2].kind == VT_END))
            return false;
        size_t k = i_ + 1;
        if (kindAt(k) == VT_LPAREN && isStrengthKind(kindAt(k + 1))) k = skipGroup(k);
        if (kindAt(k) == VT_HASH) {
            ++k;
            if (kindAt(k) == VT_LPAREN) k = skipGroup(k);
            else ++k;
        }
        std::string_view module = nameView(t_[i_]);
        named_.clear();
        for (;;) {
            size_t nameAt = k;
            if (isName(at(k))) {
                ++k;
                while (kindAt(k) == VT_LBRACKET) k = skipGroup(k);
            }
            if (kindAt(k) != VT_LPAREN) break;
            k = skipGroup(k);
            named_.push_back(isName(at(nameAt)) ? nameText(t_[nameAt]) : std::string());
            if (kindAt(k) != VT_COMMA) break;
            ++k;
        }
        bool unnamed = std::any_of(named_.begin(), named_.end(), [](const std::string& n) { return n.empty(); });
        if (named_.empty() || (unnamed && kindAt(k) != VT_SEMI)) return false;
        for (const std::string& inst : named_)
            addInstance(std::string(module), inst, inst.empty() ? uint32_t(SORT_REF_CANDIDATE) : 0u);
        if (unnamed) return false;
        // Parameter values and connections name packages too: `leaf #(.W(pkg::A)) u (.a(pkg::B));`
        notePackagesIn(i_ + 1, k);
        i_ = k - 1;
        return true;
    }

    void addInstance(const std::string& module, const std::string& inst, uint32_t flags) {
        e_.units[unit_].instances.push_back(SortReference{"work", module, inst, flags});
        e_.references.push_back(SortReference{"work", module, inst, SORT_REF_WEAK | flags});
    }

    // `design lib.cell ...;` and `use lib.cell[:config];` of a configuration.
    void configCells() {
        ++i_;
        while (i_ < t_.size() && t_[i_].kind != VT_SEMI && t_[i_].kind != VT_EOF) {
            if (isName(t_[i_])) {
                std::string lib = "work";
                std::string cell = nameText(t_[i_]);
                if (kindAt(i_ + 1) == VT_DOT && isName(at(i_ + 2))) {
                    lib = cell;
                    cell = nameText(t_[i_ + 2]);
                    i_ += 2;
                }
                if (unit_ >= 0) e_.units[unit_].instances.push_back(SortReference{lib, cell, "", 0});
                e_.references.push_back(SortReference{lib, cell, "", 0});
            }
            ++i_;
        }
        ++i_;
    }

    const std::vector<VeriSkimToken>& t_;
    FileElement& e_;
    size_t i_ = 0;
    std::vector<uint16_t> ends_; // end keywords of the open units, innermost last
    int unit_ = -1; // index of the unit table entry being read
    std::vector<std::string_view> packagesSeen_;
    std::vector<std::string> named_; // instance names of the instantiation being read
};

} // namespace

void veriSkimTokens(const std::vector<VeriSkimToken>& tokens, FileElement& element) {
    VeriSkimmer(tokens, element).run();
}

void decideVeriCandidates(const std::vector<std::unique_ptr<FileElement>>& elements) {
    std::unordered_set<std::string> udps;
    for (const auto& e : elements) udps.insert(e->primitives.begin(), e->primitives.end());
    std::vector<bool> keep;
    for (const auto& e : elements) {
        if (!IsVerilogLanguage(e->language)) continue;
        keep.clear();
        for (const SortReference& r : e->references)
            if (r.flags & SORT_REF_CANDIDATE) keep.push_back(udps.count(r.unitName) != 0);
        if (!keep.empty()) e->settleCandidates(keep);
    }
}

} // namespace hdl
