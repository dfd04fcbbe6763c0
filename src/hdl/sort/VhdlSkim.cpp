#include "hdl/sort/VhdlSkim.h"

#include <string>
#include <vector>

#include "hdl/vhdl/VhdlNames.h"

namespace hdl {
namespace {

bool isName(uint16_t kind) { return kind == VHDL_ID || kind == VHDL_EXTENDED_ID; }

// The kinds that start what the recogniser reads; the others, most of a file, are passed
// in a tight loop instead of one dispatch each.
struct ActedKinds {
    bool of[VHDL_TOKEN_COUNT] = {};
    constexpr ActedKinds() {
        for (uint16_t k : {VHDL_EOF, VHDL_LIBRARY, VHDL_USE, VHDL_CONTEXT, VHDL_ENTITY, VHDL_ARCHITECTURE, VHDL_PACKAGE,
                           VHDL_CONFIGURATION, VHDL_FOR, VHDL_COLON, VHDL_COMPONENT, VHDL_RECORD, VHDL_DOT})
            of[k] = true;
    }
};
constexpr ActedKinds kActedKinds;

class VhdlSkimmer {
public:
    VhdlSkimmer(std::string_view text, const std::vector<VhdlSkimToken>& tokens, FileElement& element)
        : text_(text), t_(tokens), e_(element), preserveIdCase_(VhdlPreserveIdCase()) {}

    void run() {
        for (;;) {
            while (i_ < t_.size() && t_[i_].kind < VHDL_TOKEN_COUNT && !kActedKinds.of[t_[i_].kind]) ++i_;
            if (i_ >= t_.size() || t_[i_].kind == VHDL_EOF) return;
            switch (t_[i_].kind) {
            case VHDL_LIBRARY: libraryClause(); break;
            case VHDL_USE: useClause(); break;
            case VHDL_CONTEXT: context(); break;
            case VHDL_ENTITY: entity(); break;
            case VHDL_ARCHITECTURE: architecture(); break;
            case VHDL_PACKAGE: package(); break;
            case VHDL_CONFIGURATION: configuration(); break;
            case VHDL_FOR: blockConfiguration(); break;
            case VHDL_COLON: instantiation(); break;
            case VHDL_COMPONENT: component(); break;
            case VHDL_DOT: expandedName(); break;
            case VHDL_RECORD:
                // Element declarations (`a : t;`) look like bare statements.
                inRecord_ = i_ == 0 || kindAt(i_ - 1) != VHDL_END;
                ++i_;
                break;
            default: ++i_; break;
            }
        }
    }

private:
    uint16_t kindAt(size_t k) const { return k < t_.size() ? t_[k].kind : uint16_t(VHDL_EOF); }
    // The name of the identifier at k, by the front-end's rule (VhdlNames.h).
    std::string textAt(size_t k) const {
        if (k >= t_.size()) return std::string();
        return VhdlIdName(text_.substr(t_[k].begin, t_[k].end - t_[k].begin), preserveIdCase_);
    }
    uint32_t at() const { return static_cast<uint32_t>(i_); }

    void addReference(const std::string& lib, const std::string& unit, uint32_t flags = 0) {
        for (const SortReference& r : e_.references)
            if (r.libraryName == lib && r.unitName == unit && r.instanceName.empty() && r.flags == flags) return;
        e_.references.push_back(SortReference{lib, unit, "", flags});
    }

    // At the keyword that starts a design unit named `name` (an architecture by its
    // entity's name).
    void noteStart(uint16_t kind, const std::string& name) {
        e_.vhdl.starts.push_back(VhdlVisibility::Start{at(), kind, name});
        entity_ = kind == VHDL_ARCHITECTURE ? name : std::string();
    }

    void startUnit(uint16_t kind, const std::string& startName, const std::string& name) {
        noteStart(kind, startName);
        inConfiguration_ = kind == VHDL_CONFIGURATION;
        unitKind_ = kind;
        unit_ = static_cast<int>(e_.units.size());
        e_.units.push_back(SortUnit{name, {}});
    }

    // library a, b;
    void libraryClause() {
        ++i_;
        while (isName(kindAt(i_)) || kindAt(i_) == VHDL_COMMA) {
            if (isName(kindAt(i_))) {
                addReference(textAt(i_), "");
                libraries_.push_back(VhdlIdName(text_.substr(t_[i_].begin, t_[i_].end - t_[i_].begin), false));
            }
            ++i_;
        }
    }

    // lib.pkg.item where a name may stand (`work.pkg.c`, `lib.pkg.f(x)`): without a use
    // clause the package must still be analysed first. `lib` is work, std or a library
    // a clause of the file named; a record or protected object's selections are not.
    void expandedName() {
        size_t dot = i_++;
        if (dot == 0 || !isName(kindAt(dot - 1)) || !isName(kindAt(dot + 1)) || kindAt(dot + 2) != VHDL_DOT) return;
        if (dot >= 2 && kindAt(dot - 2) == VHDL_DOT) return;
        if (referToPackage(dot - 1)) i_ = dot + 2;
    }

    // The package of `lib.pkg.x` starting at token k, when lib is a library known here.
    bool referToPackage(size_t k) {
        std::string lib = VhdlIdName(text_.substr(t_[k].begin, t_[k].end - t_[k].begin), false);
        bool known = lib == "work" || lib == "std";
        for (const std::string& l : libraries_) known = known || l == lib;
        if (known) addReference(textAt(k), textAt(k + 2));
        return known;
    }

    // use a.b.c, d.e; and the bindings `use entity l.e(a)` / `use configuration l.c`.
    void useClause() {
        ++i_;
        if (kindAt(i_) == VHDL_ENTITY || kindAt(i_) == VHDL_CONFIGURATION) {
            binding();
            return;
        }
        selectedNames(Names::Use);
    }

    // What a list of selected names is: a use clause and a context reference make
    // names visible, the generic package of an instantiation does not.
    enum class Names { Use, Context, Other };

    // Comma-separated selected names; each with a prefix names library and unit.
    void selectedNames(Names names) {
        for (;;) {
            if (!isName(kindAt(i_))) return;
            uint32_t start = at();
            std::string lib = textAt(i_);
            ++i_;
            if (kindAt(i_) == VHDL_DOT && isName(kindAt(i_ + 1))) {
                std::string unit = textAt(i_ + 1);
                addReference(lib, unit);
                i_ += 2;
                bool item = kindAt(i_) == VHDL_DOT && (isName(kindAt(i_ + 1)) || kindAt(i_ + 1) == VHDL_ALL);
                if (names == Names::Context || (names == Names::Use && item))
                    e_.vhdl.uses.push_back(VhdlVisibility::Use{start, lib, unit,
                                                               item && isName(kindAt(i_ + 1)) ? textAt(i_ + 1) : "all",
                                                               names == Names::Context});
            }
            while (kindAt(i_) == VHDL_DOT &&
                   (isName(kindAt(i_ + 1)) || kindAt(i_ + 1) == VHDL_ALL || kindAt(i_ + 1) == VHDL_STRING))
                i_ += 2;
            if (kindAt(i_) != VHDL_COMMA) return;
            ++i_;
        }
    }

    // At `entity` or `configuration` after `use` or after an instance label.
    // Returns the library, unit and (for an entity) architecture read.
    bool boundUnit(std::string& lib, std::string& unit, std::string& arch) {
        bool isEntity = kindAt(i_) == VHDL_ENTITY;
        ++i_;
        if (!isName(kindAt(i_))) return false;
        lib = "work";
        unit = textAt(i_++);
        if (kindAt(i_) == VHDL_DOT && isName(kindAt(i_ + 1))) {
            lib = unit;
            unit = textAt(i_ + 1);
            i_ += 2;
        }
        arch.clear();
        if (isEntity && kindAt(i_) == VHDL_LPAREN && isName(kindAt(i_ + 1)) && kindAt(i_ + 2) == VHDL_RPAREN) {
            arch = textAt(i_ + 1);
            i_ += 3;
        }
        return true;
    }

    // The references to a bound entity, and to its architecture when one is named; gives
    // the target text of an instance of it.
    std::string referToBound(const std::string& lib, const std::string& unit, const std::string& arch) {
        addReference(lib, unit);
        if (arch.empty()) return unit;
        std::string target = unit + " " + arch;
        addReference(lib, target);
        return target;
    }

    void binding() {
        std::string lib, unit, arch;
        if (!boundUnit(lib, unit, arch)) return;
        std::string target = referToBound(lib, unit, arch);
        // Inside an architecture a binding only refines an instance listed already.
        if (unit_ >= 0 && inConfiguration_)
            e_.units[unit_].instances.push_back(SortReference{lib, target, pendingLabel_, 0});
    }

    // context c is ... (a declaration) or context l.c; (a reference).
    void context() {
        if (isName(kindAt(i_ + 1)) && kindAt(i_ + 2) == VHDL_IS) {
            std::string name = textAt(i_ + 1);
            e_.declare(name);
            noteStart(VHDL_CONTEXT, name);
            unit_ = -1;
            i_ += 3;
            return;
        }
        ++i_;
        selectedNames(Names::Context);
    }

    void entity() {
        if (isName(kindAt(i_ + 1)) && kindAt(i_ + 2) == VHDL_IS) {
            std::string name = textAt(i_ + 1);
            e_.declare(name);
            startUnit(VHDL_ENTITY, name, name);
            i_ += 3;
            return;
        }
        ++i_;
    }

    // architecture a of e is: declared and listed as "e a"; it needs its entity.
    void architecture() {
        if (isName(kindAt(i_ + 1)) && kindAt(i_ + 2) == VHDL_OF && isName(kindAt(i_ + 3))) {
            std::string entityName = textAt(i_ + 3);
            std::string name = entityName + " " + textAt(i_ + 1);
            e_.declare(name);
            addReference("work", entityName);
            startUnit(VHDL_ARCHITECTURE, entityName, name);
            i_ += 4;
            return;
        }
        ++i_;
    }

    // package p is / package p is new l.g / package body p is
    void package() {
        if (kindAt(i_ + 1) == VHDL_BODY && isName(kindAt(i_ + 2))) {
            std::string name = textAt(i_ + 2);
            noteStart(VHDL_BODY, name);
            e_.declare(name + " body");
            addReference("work", name);
            unit_ = -1;
            i_ += 3;
            return;
        }
        if (!isName(kindAt(i_ + 1)) || kindAt(i_ + 2) != VHDL_IS) {
            ++i_;
            return;
        }
        std::string name = textAt(i_ + 1);
        e_.declare(name);
        startUnit(VHDL_PACKAGE, name, name);
        i_ += 3;
        if (kindAt(i_) == VHDL_NEW) {
            ++i_;
            selectedNames(Names::Other);
        }
    }

    // configuration c of e is: needs e; its top block names the architecture.
    void configuration() {
        if (isName(kindAt(i_ + 1)) && kindAt(i_ + 2) == VHDL_OF && isName(kindAt(i_ + 3))) {
            std::string name = textAt(i_ + 1);
            configEntity_ = textAt(i_ + 3);
            e_.declare(name);
            addReference("work", configEntity_);
            startUnit(VHDL_CONFIGURATION, name, name);
            i_ += 4;
            return;
        }
        ++i_;
    }

    // for a (the top block of a configuration) or for l1, l2 : comp (a specification).
    void blockConfiguration() {
        ++i_;
        if (!configEntity_.empty() && isName(kindAt(i_)) && kindAt(i_ + 1) != VHDL_COLON && unit_ >= 0) {
            std::string target = configEntity_ + " " + textAt(i_);
            addReference("work", target);
            e_.units[unit_].instances.push_back(SortReference{"work", target, "", 0});
            configEntity_.clear();
            return;
        }
        pendingLabel_ = isName(kindAt(i_)) ? textAt(i_) : std::string();
    }

    // label : [component] c port map | label : entity l.e(a) | label : configuration l.c
    void instantiation() {
        size_t label = i_ - 1;
        if (i_ == 0 || !isName(kindAt(label)) || (label > 0 && kindAt(label - 1) == VHDL_COMMA)) {
            ++i_;
            return;
        }
        ++i_;
        uint16_t k = kindAt(i_);
        if (k == VHDL_ENTITY || k == VHDL_CONFIGURATION) {
            std::string lib, unit, arch;
            if (!boundUnit(lib, unit, arch)) return;
            std::string target = referToBound(lib, unit, arch);
            if (unit_ >= 0) e_.units[unit_].instances.push_back(SortReference{lib, target, textAt(label), 0});
            return;
        }
        bool keyword = k == VHDL_COMPONENT;
        size_t n = keyword ? i_ + 1 : i_;
        if (!isName(kindAt(n))) return;
        // A selected component name keeps its last part.
        size_t first = n;
        while (kindAt(n + 1) == VHDL_DOT && isName(kindAt(n + 2))) n += 2;
        // A component of a package named by library and package needs the package.
        if (n >= first + 4) referToPackage(n - 4);
        uint16_t after = kindAt(n + 1);
        bool mapFollows = (after == VHDL_PORT || after == VHDL_GENERIC) && kindAt(n + 2) == VHDL_MAP;
        uint32_t flags = 0;
        if (!mapFollows && !(keyword && after == VHDL_SEMI)) {
            // In an architecture `label : name;` may call a procedure as well: decided
            // once all files are in.
            if (keyword || after != VHDL_SEMI || unit_ < 0 || entity_.empty() || inRecord_ || !startsStatement(label))
                return;
            VhdlVisibility::Candidate c{at(), static_cast<uint32_t>(unit_), textAt(n), "", "", entity_};
            if (n >= first + 2) c.package = textAt(n - 2);
            if (n >= first + 4) c.library = textAt(n - 4);
            e_.vhdl.candidates.push_back(std::move(c));
            flags = SORT_REF_CANDIDATE;
        }
        std::string comp = textAt(n);
        std::string inst = textAt(label);
        if (unit_ >= 0) e_.units[unit_].instances.push_back(SortReference{"work", comp, inst, flags});
        e_.references.push_back(SortReference{"work", comp, inst, SORT_REF_WEAK | flags});
        i_ = n + 1;
    }

    // Whether the token at k can start a concurrent statement: it follows the end of
    // one, a `begin`, a `generate` or the choices of a case generate alternative.
    bool startsStatement(size_t k) const {
        if (k == 0) return false;
        uint16_t before = kindAt(k - 1);
        return before == VHDL_SEMI || before == VHDL_BEGIN || before == VHDL_GENERATE || before == VHDL_ARROW;
    }

    // component c [is]: a declaration, unless the keyword ends one or stands in an
    // instance (`label : component c`).
    void component() {
        uint16_t before = i_ > 0 ? kindAt(i_ - 1) : uint16_t(VHDL_EOF);
        if (before != VHDL_END && before != VHDL_COLON && isName(kindAt(i_ + 1)) && unit_ >= 0)
            e_.vhdl.components.push_back(VhdlVisibility::Component{at(), static_cast<uint32_t>(unit_), textAt(i_ + 1),
                                                                   unitKind_ == VHDL_PACKAGE});
        ++i_;
    }

    std::string_view text_;
    const std::vector<VhdlSkimToken>& t_;
    FileElement& e_;
    size_t i_ = 0;
    int unit_ = -1;
    bool inConfiguration_ = false;
    std::string configEntity_; // entity of a configuration until its top block is read
    std::string pendingLabel_; // first label of the configuration specification being read
    std::string entity_; // entity of the architecture being read
    uint16_t unitKind_ = 0; // keyword that started units[unit_]
    bool inRecord_ = false; // between `record` and `end record`
    std::vector<std::string> libraries_; // named by library clauses so far, in lower case
    const bool preserveIdCase_;
};

} // namespace

void vhdlSkimTokens(std::string_view text, const std::vector<VhdlSkimToken>& tokens, FileElement& element) {
    VhdlSkimmer(text, tokens, element).run();
}

} // namespace hdl
