#include "hdl/elab/VhdlElaborator.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdarg>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "hdl/base/Message.h"
#include "hdl/elab/ElabNaming.h"
#include "hdl/elab/VhdlElabStore.h"
#include "hdl/elab/VhdlEvalInternal.h"
#include "hdl/elab/VhdlEvaluator.h"
#include "hdl/vhdl/VhdlLexer.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParser.h"

namespace hdl {

using namespace vhdl_eval;

namespace {

// What a generic of a unit gets: an expression to evaluate in the instantiating frame,
// a value, a subtype (a generic type), or the text of the generic map of a top.
struct Actual {
    const VhdlTreeNode* expression = nullptr;
    VhdlFrame* frame = nullptr;
    VhdlValue value;
    const VhdlType* type = nullptr;
    const std::string* text = nullptr;
    const ElabParamValue* param = nullptr; // a value from a Verilog instance
};
using Actuals = std::unordered_map<const VhdlIdDef*, Actual>;

// The generics of a generic clause in order, one per identifier.
std::vector<const VhdlIdDef*> GenericIds(const VhdlNodeList& clause) {
    std::vector<const VhdlIdDef*> ids;
    for (VhdlTreeNode* g : clause) {
        if (auto* d = dynamic_cast<const VhdlInterfaceDecl*>(g)) {
            for (VhdlIdDef* id : d->ids) ids.push_back(id);
        } else if (auto* t = dynamic_cast<const VhdlInterfaceTypeDecl*>(g)) {
            ids.push_back(t->id);
        } else if (auto* s = dynamic_cast<const VhdlInterfaceSubprogDecl*>(g)) {
            ids.push_back(s->spec ? s->spec->id : nullptr);
        } else if (auto* p = dynamic_cast<const VhdlInterfacePackageDecl*>(g)) {
            ids.push_back(p->id);
        }
    }
    return ids;
}

bool SameIdName(std::string_view a, std::string_view b) {
    if (!a.empty() && a[0] == '\\') return a == b;
    return SameName(a, b);
}

const VhdlIdDef* FindGeneric(const std::vector<const VhdlIdDef*>& ids, std::string_view name) {
    for (const VhdlIdDef* id : ids)
        if (id && SameIdName(id->OrigName(), name)) return id;
    return nullptr;
}

// The width in bits a Verilog port of this type has when a mixed simulator maps it:
// std_ulogic, bit and boolean one bit, integers 32, constrained arrays of those their
// element count times that; -1 for anything else.
int64_t BitWidth(const VhdlType* t) {
    if (!t) return -1;
    if (t->kind == VhdlTypeKind::Enumeration) return t->base->literals.size() <= 9 ? 1 : -1;
    if (t->kind == VhdlTypeKind::Integer) return 32;
    if (!t->IsArray() || !t->constrained) return -1;
    int64_t count = 1;
    for (const VhdlBounds& r : t->indexRanges) count *= r.Length();
    const int64_t element = BitWidth(t->element);
    return element < 0 ? -1 : count * element;
}

// The ports of an entity in declaration order.
std::vector<const VhdlIdDef*> PortIds(const VhdlNodeList& clause) {
    std::vector<const VhdlIdDef*> ids;
    for (const VhdlTreeNode* p : clause)
        if (auto* decl = dynamic_cast<const VhdlInterfaceDecl*>(p))
            for (const VhdlIdDef* id : decl->ids) ids.push_back(id);
    return ids;
}

// The part of a label a path shows: an extended identifier without its backslashes.
std::string PathStep(std::string_view label) {
    if (label.size() > 1 && label[0] == '\\' && label.back() == '\\')
        return std::string(label.substr(1, label.size() - 2));
    return std::string(label);
}

ElabParamValue ToParam(const VhdlValue& v) {
    ElabParamValue p;
    switch (v.kind) {
    case VhdlValue::Int:
        p.kind = ElabParamValue::Integer;
        p.integer = v.i;
        break;
    case VhdlValue::Real:
        p.kind = ElabParamValue::Real;
        p.real = v.r;
        break;
    case VhdlValue::Phys:
        p.kind = ElabParamValue::Time;
        p.integer = v.i;
        break;
    case VhdlValue::Enum:
        if (IsBoolean(v.type)) {
            p.kind = ElabParamValue::Boolean;
            p.integer = v.i;
            break;
        }
        p.kind = ElabParamValue::Other;
        p.text = VhdlImage(v);
        break;
    case VhdlValue::Array:
        if (v.type && IsLogicVector(v.type)) {
            p.kind = ElabParamValue::Bits;
            for (const VhdlValue& e : v.Elements()) {
                char c = LiteralChar(e);
                p.text += c == '1' || c == 'H' ? '1' : c == '0' || c == 'L' ? '0' : c == 'Z' ? 'z' : 'x';
            }
        } else {
            p.kind = ElabParamValue::String;
            p.text = StringOf(v);
        }
        break;
    default: p.text = VhdlImage(v); break;
    }
    return p;
}

// A Verilog value as VHDL text for a generic of that type, mapped as a mixed-language
// simulator maps it: a Verilog number sets a boolean (0 is false), a vector without x
// or z bits an integer, an integer a real; bit vectors become bit string literals.
std::string ParamText(const ElabParamValue& p, const VhdlType* type) {
    const bool known = p.text.find_first_not_of("01") == std::string::npos;
    int64_t bits = 0;
    if (p.kind == ElabParamValue::Bits && known && p.text.size() < 63)
        bits = p.text.empty() ? 0 : int64_t(std::stoull(p.text, nullptr, 2));
    if (type && IsBoolean(type)) {
        if (p.kind == ElabParamValue::Integer || p.kind == ElabParamValue::Boolean) return p.integer ? "true" : "false";
        if (p.kind == ElabParamValue::Bits && known) return bits ? "true" : "false";
    }
    if (type && type->kind == VhdlTypeKind::Integer && p.kind == ElabParamValue::Bits && known && p.text.size() < 63)
        return std::to_string(bits);
    // A Verilog number for a time: a count of the writing module's time unit, in fs. One
    // past what VHDL time holds stays a real, which VHDL reports as out of range.
    if (type && type->kind == VhdlTypeKind::Physical && p.timeUnitFs > 0 &&
        (p.kind == ElabParamValue::Integer || p.kind == ElabParamValue::Real)) {
        const double fs = (p.kind == ElabParamValue::Integer ? double(p.integer) : p.real) * p.timeUnitFs;
        if (std::fabs(fs) < 9.2e18) return std::to_string(std::llround(fs)) + " fs";
        return VhdlCopyImage(VhdlValue::Floating(fs, nullptr)) + " fs";
    }
    switch (p.kind) {
    case ElabParamValue::Integer:
        if (type && type->kind == VhdlTypeKind::Real) return std::to_string(p.integer) + ".0";
        return std::to_string(p.integer);
    case ElabParamValue::Real: return VhdlCopyImage(VhdlValue::Floating(p.real, nullptr));
    case ElabParamValue::Boolean: return p.integer ? "true" : "false";
    case ElabParamValue::Time: return std::to_string(p.integer) + " fs";
    case ElabParamValue::Bits: {
        std::string text = "\"";
        for (char c : p.text) text += char(std::toupper(static_cast<unsigned char>(c)));
        return text + "\"";
    }
    default: return p.text;
    }
}

// Messages of the lexer and parser while reading the value text of a generic map are
// not the user's concern: the text is tried as an expression, then taken as a string.
class QuietParse {
public:
    QuietParse() {
        for (const char* id : kIds) {
            saved_.push_back(Message::GetMessageType(id));
            Message::SetMessageType(id, MSG_IGNORE);
        }
    }
    ~QuietParse() {
        for (size_t i = 0; i < sizeof kIds / sizeof kIds[0]; ++i) {
            if (saved_[i] == MSG_NONE) Message::ClearMessageType(kIds[i]);
            else Message::SetMessageType(kIds[i], saved_[i]);
        }
    }

private:
    static constexpr const char* kIds[] = {vhdl_msg::kBadCharacter, vhdl_msg::kUnterminatedString,
                                           vhdl_msg::kBadLiteral,   vhdl_msg::kUnterminatedComment,
                                           vhdl_msg::kSyntax,       vhdl_msg::kTooDeep};
    std::vector<msg_type_t> saved_;
};

} // namespace

struct VhdlElaborator::Impl {
    Impl(ElabDesign& d, const ElabLimits& l) : design(d), limits(l), ev(l) {}

    ElabDesign& design;
    ElabLimits limits;
    VhdlEvaluator ev;
    ElabUnitLookup foreign;
    unsigned errors = 0;
    uint32_t depth = 0;
    uint64_t statements = 0;

    // One unit per architecture (or entity without one), configuration and generics.
    using Key = std::tuple<const void*, const void*, std::string>;
    std::map<Key, ElabUnitId> units;
    std::set<Key> inProgress;
    struct Target {
        VhdlEntityDecl* entity = nullptr;
        VhdlArchitectureBody* architecture = nullptr;
    };
    std::unordered_map<ElabUnitId, Target> targets;
    std::unordered_set<const VhdlStatement*> warnedUnbound;
    // Names of configuration copies, for telling two block configurations apart.
    std::map<std::string, const void*> configCopies;

    // Where statements are elaborated into.
    struct Region {
        std::vector<ElabInstance>* instances;
        std::vector<VhdlTreeNode*>* statements;
        std::string prefix;
        const VhdlBlockConfiguration* config;
        const VhdlConfigurationDecl* configDecl;
        std::string library;
    };

    void Report(const VhdlEvalError& e) {
        ++errors;
        Message::Error(e.Id(), &e.Location(), "%s", e.Text().c_str());
    }

    void Error(const char* id, const VhdlTreeNode* where, const char* format, ...)
        __attribute__((format(printf, 4, 5))) {
        char text[1024];
        va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
        ++errors;
        ColLineFile loc = where ? where->Linefile() : ColLineFile();
        Message::Error(id, &loc, "%s", text);
    }

    // ---- generic values

    // A value of the generic map of a top, read as VHDL; a string generic also takes
    // the text as it stands.
    VhdlValue ParseValue(const std::string& text, const VhdlType* type, const VhdlTreeNode* where) {
        std::string_view source = VhdlElabStore::Text(text);
        VhdlExpression* e = nullptr;
        bool parsed = false;
        {
            QuietParse quiet;
            VhdlLexer lexer(source, 0, VHDL_2019);
            VhdlParser parser(VhdlElabStore::Nodes(), source, lexer.Tokenize(), 0, VHDL_2019);
            e = parser.ParseExpressionOnly();
            parsed = e && parser.ErrorCount() == 0 && lexer.ErrorCount() == 0;
        }
        bool stringType = type && type->IsArray() && type->element &&
                          type->element->kind == VhdlTypeKind::Enumeration && !IsLogicVector(type);
        if (parsed) {
            try {
                return ev.Conform(ev.Evaluate(e, type), type, where);
            } catch (const VhdlEvalError&) {
                if (!stringType) throw;
            }
        }
        if (stringType) return ev.Conform(MakeString(ev, text, nullptr), type, where);
        ev.Fail<vhdl_msg::ElabNotAValueOf>(where, text.c_str(), type ? std::string(type->DisplayName()).c_str() : "?");
    }

    VhdlValue ValueOfActual(const Actual& a, const VhdlType* type, const VhdlTreeNode* where) {
        if (a.param) return ParseValue(ParamText(*a.param, type), type, where);
        if (a.text) return ParseValue(*a.text, type, where);
        VhdlValue v = a.expression ? ev.EvaluateIn(a.frame, a.expression, type) : a.value;
        return ev.Conform(std::move(v), type, a.expression ? a.expression : where);
    }

    // Binds the generics of a clause in the current frame; returns the `P=value` of those
    // that differ from their defaults.
    std::vector<std::pair<std::string, std::string>> BindGenerics(const VhdlNodeList& clause, const Actuals& actuals,
                                                                  const VhdlTreeNode* unitNode,
                                                                  const VhdlTreeNode* where) {
        std::vector<std::pair<std::string, std::string>> changed;
        VhdlFrame* frame = ev.Current();
        for (VhdlTreeNode* g : clause) {
            if (auto* t = dynamic_cast<const VhdlInterfaceTypeDecl*>(g)) {
                if (!t->id) continue;
                auto it = actuals.find(t->id);
                const VhdlType* type = it != actuals.end() && it->second.type ? it->second.type : nullptr;
                if (!type && it != actuals.end() && it->second.expression)
                    type = ev.EvaluateSubtypeIn(it->second.frame, it->second.expression);
                VhdlSlot& slot = frame->slots[t->id];
                slot.state = VhdlSlot::Ready;
                slot.type = type;
                if (type) changed.push_back({std::string(t->id->OrigName()), std::string(type->DisplayName())});
                continue;
            }
            auto* decl = dynamic_cast<const VhdlInterfaceDecl*>(g);
            if (!decl) continue;
            for (VhdlIdDef* id : decl->ids) {
                const VhdlType* type = ev.EvaluateSubtype(decl->subtype);
                VhdlValue def;
                bool hasDefault = false;
                if (decl->init) {
                    try {
                        def = ev.Conform(ev.Evaluate(decl->init, type), type, decl->init);
                        hasDefault = true;
                    } catch (const VhdlEvalError&) {
                        hasDefault = false;
                    }
                }
                auto it = actuals.find(id);
                VhdlValue value;
                bool differs = false;
                if (it != actuals.end()) {
                    value = ValueOfActual(it->second, type, where);
                    differs =
                        !hasDefault || !VhdlValueEqual(value, def) ||
                        (value.kind == VhdlValue::Array && def.kind == VhdlValue::Array &&
                         (value.Range().left != def.Range().left || value.Range().ascending != def.Range().ascending));
                } else if (hasDefault) {
                    value = def;
                } else if (decl->init) {
                    // Report why the default cannot be worked out.
                    value = ev.Conform(ev.Evaluate(decl->init, type), type, decl->init);
                } else {
                    ev.Fail<vhdl_msg::ElabGenericWithoutValue>(where, std::string(id->OrigName()).c_str(),
                                                               unitNode ? VhdlEvaluator::Text(unitNode).c_str() : "");
                }
                const VhdlType* bound = type;
                if (type && type->IsArray() && !type->constrained && value.kind == VhdlValue::Array)
                    bound = ev.ConstrainedArray(type, value.Range());
                ev.Bind(frame, id, value, bound);
                if (differs) changed.push_back({std::string(id->OrigName()), VhdlCopyImage(value)});
            }
        }
        return changed;
    }

    // Actuals of a generic map whose formals are the generics `formals` of `unitName`.
    void MapGenerics(const VhdlNodeList& map, const std::vector<const VhdlIdDef*>& formals, std::string_view unitName,
                     VhdlFrame* frame, Actuals& out) {
        size_t position = 0;
        for (VhdlTreeNode* a : map) {
            auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
            const VhdlTreeNode* actual = assoc ? assoc->actual : a;
            const VhdlIdDef* formal = nullptr;
            if (assoc && assoc->formal) {
                std::string_view name = SimpleName(assoc->formal);
                formal = FindGeneric(formals, name);
                if (!formal)
                    ev.Fail<vhdl_msg::ElabNotAGeneric>(a, std::string(name).c_str(), std::string(unitName).c_str());
            } else {
                if (position >= formals.size())
                    ev.Fail<vhdl_msg::ElabTooManyGenericActuals>(a, std::string(unitName).c_str());
                formal = formals[position++];
            }
            if (!formal || !actual || actual->GetClassId() == VhdlOpen::kClassId) continue;
            Actual value;
            value.expression = actual;
            value.frame = frame;
            out[formal] = value;
        }
    }

    // ---- units

    ElabUnitId ElaborateUnit(VhdlEntityDecl* entity, VhdlArchitectureBody* arch, const VhdlBlockConfiguration* config,
                             const VhdlConfigurationDecl* configDecl, const Actuals& actuals,
                             const VhdlTreeNode* where) {
        if (depth >= limits.instanceDepth)
            ev.Fail<vhdl_msg::ElabHierarchyTooDeep>(where, limits.instanceDepth,
                                                    std::string(entity->id ? entity->id->OrigName() : "").c_str());
        VhdlFrameScope unitScope(ev, entity, nullptr, true);
        std::vector<std::pair<std::string, std::string>> changed =
            BindGenerics(entity->generics, actuals, entity->id, where);
        std::string suffix;
        for (const auto& [n, v] : changed) suffix += n + "=" + v + ",";
        Key key{arch ? static_cast<const void*>(arch) : static_cast<const void*>(entity), config, suffix};
        // Before the known units: a unit being elaborated is known already.
        if (inProgress.count(key))
            ev.Fail<vhdl_msg::ElabInstantiatesItself>(where,
                                                      std::string(entity->id ? entity->id->OrigName() : "").c_str());
        auto known = units.find(key);
        if (known != units.end()) return known->second;

        std::string original(entity->id ? entity->id->OrigName() : "");
        std::string name;
        if (configDecl && configDecl->id) {
            std::string base = original + "_" + std::string(configDecl->id->OrigName());
            // Another block configuration of the same configuration for this entity.
            for (int n = 0;; ++n) {
                std::string candidate = n ? base + "_" + std::to_string(n) : base;
                auto [it, added] =
                    configCopies.emplace(candidate + "|" + std::to_string(reinterpret_cast<uintptr_t>(entity)), config);
                if (added || it->second == config) {
                    base = candidate;
                    break;
                }
            }
            name = changed.empty() ? base + "_default" : ElabCopyName(base, changed);
        } else {
            name = ElabCopyName(original, changed);
        }

        ElabUnit unit;
        unit.language = ElabLanguage::Vhdl;
        unit.library = entity->library ? entity->library->Name() : "";
        unit.module = Lower(entity->Name());
        unit.copyName = name;
        unit.architecture = arch && arch->id ? std::string(arch->id->OrigName()) : "";
        Target target{entity, arch};
        if (name != original) {
            target.entity = VhdlElabStore::CopyEntity(*entity, name);
            if (arch) target.architecture = VhdlElabStore::CopyArchitecture(*target.entity, *arch);
        }
        unit.source = target.entity;
        unit.body = target.architecture;
        ElabUnitId id = design.Add(std::move(unit));
        targets[id] = target;
        units[key] = id;
        if (!arch) {
            Error(vhdl_msg::kElabConfiguration, where ? where : entity, "entity '%s' has no architecture",
                  original.c_str());
            return id;
        }

        inProgress.insert(key);
        ++depth;
        std::vector<ElabInstance> instances;
        std::vector<VhdlTreeNode*> statements;
        try {
            ev.Declare(unitScope.Frame(), entity->declarations);
            DeclarePorts(unitScope.Frame(), entity->ports);
            VhdlFrameScope archScope(ev, arch);
            ev.Declare(archScope.Frame(), arch->declarations);
            Region region{&instances, &statements, "", config, configDecl, design.Unit(id).library};
            ElaborateStatements(arch->statements, region);
        } catch (...) {
            --depth;
            inProgress.erase(key);
            throw;
        }
        --depth;
        inProgress.erase(key);
        design.Unit(id).instances = std::move(instances);
        target.architecture->elaboratedStatements = VhdlNodeList(VhdlElabStore::Nodes(), statements);
        target.architecture->elaborated = true;
        return id;
    }

    // Ports have no value, but their bounds serve 'length and 'range.
    void DeclarePorts(VhdlFrame* frame, const VhdlNodeList& ports) {
        for (VhdlTreeNode* p : ports) {
            auto* decl = dynamic_cast<const VhdlInterfaceDecl*>(p);
            if (!decl) continue;
            for (VhdlIdDef* id : decl->ids) frame->slots[id].declaration = decl;
        }
    }

    // The width in bits of an actual of a port map as written: a signal or port, an
    // element or a slice of one; -1 for anything else (open, an aggregate, an expression).
    int64_t ActualWidth(const VhdlTreeNode* actual) {
        try {
            if (auto* ref = dynamic_cast<const VhdlIdRef*>(actual))
                return ref->GetId() ? BitWidth(ev.TypeOfId(ref->GetId(), actual)) : -1;
            auto* indexed = dynamic_cast<const VhdlIndexedName*>(actual);
            auto* prefix = indexed ? dynamic_cast<const VhdlIdRef*>(indexed->prefix) : nullptr;
            if (!prefix || !prefix->GetId() || indexed->assocList.Size() != 1) return -1;
            const VhdlType* type = ev.TypeOfId(prefix->GetId(), actual);
            if (!type || !type->IsArray() || type->Dimensions() != 1) return -1;
            const int64_t element = BitWidth(type->element);
            if (element < 0) return -1;
            auto* range = dynamic_cast<const VhdlRange*>(indexed->assocList[0]);
            if (!range) return element;
            const VhdlType* indexType = nullptr;
            return ev.EvaluateRange(range, &indexType).Length() * element;
        } catch (const VhdlEvalError&) {
            return -1;
        }
    }

    // A Verilog instance's actuals against the ports of the entity elaborated for it,
    // their types worked out for the generic values it got.
    void CheckPortWidths(VhdlEntityDecl* entity, const Actuals& actuals, const ElabUnitRequest& request) {
        if (request.ports.empty()) return;
        VhdlFrameScope unitScope(ev, entity, nullptr, true);
        try {
            BindGenerics(entity->generics, actuals, entity->id, entity);
            ev.Declare(unitScope.Frame(), entity->declarations);
        } catch (const VhdlEvalError&) {
            return; // reported where the unit was elaborated
        }
        DeclarePorts(unitScope.Frame(), entity->ports);
        const std::vector<const VhdlIdDef*> ports = PortIds(entity->ports);
        size_t position = 0;
        for (const ElabPortActual& actual : request.ports) {
            const VhdlIdDef* formal = actual.name.empty() ? (position < ports.size() ? ports[position++] : nullptr)
                                                          : FindGeneric(ports, actual.name);
            if (!formal || actual.width < 0) continue;
            int64_t width = -1;
            try {
                width = BitWidth(ev.TypeOfId(formal, entity));
            } catch (const VhdlEvalError&) {
                continue;
            }
            if (width < 0 || width == actual.width) continue;
            Message::Tell<vhdl_msg::ElabPortWidth>(&request.location, std::string(formal->OrigName()).c_str(),
                                                   std::string(entity->id ? entity->id->OrigName() : "").c_str(),
                                                   std::to_string(width).c_str(), std::to_string(actual.width).c_str());
        }
    }

    // ---- statements

    void ElaborateStatements(const VhdlNodeList& list, Region& r) {
        for (VhdlTreeNode* s : list) {
            if (!s) continue;
            try {
                ElaborateStatement(s, r);
            } catch (const VhdlEvalError& e) {
                Report(e);
            }
        }
    }

    // Counts one statement of the elaborated design against its bound.
    void Made(const VhdlTreeNode* where) {
        ev.Step(where);
        if (++statements > limits.statements)
            ev.Fail<vhdl_msg::ElabTooManyStatements>(
                where, std::to_string(static_cast<unsigned long long>(limits.statements)).c_str());
    }

    VhdlBlockStatement* MakeBlock(VhdlIdDef* label, VhdlStatement* source, std::vector<VhdlTreeNode*>& inner) {
        Made(source);
        auto* block = VhdlElabStore::Nodes().make<VhdlBlockStatement>();
        block->label = label;
        block->sourceStatement = source;
        block->statements = VhdlNodeList(VhdlElabStore::Nodes(), inner);
        block->SetLinefile(source->Linefile());
        return block;
    }

    VhdlIdDef* IterationLabel(const std::string& text, VhdlTreeNode* declaration) {
        auto* id = VhdlElabStore::Nodes().make<VhdlLabelId>();
        id->origName = VhdlElabStore::Text(text);
        id->name = id->origName;
        id->declaration = declaration;
        return id;
    }

    // The block configuration among `configs` that configures the iteration `value`.
    const VhdlBlockConfiguration* IterationConfig(const std::vector<VhdlBlockConfiguration*>& configs,
                                                  const VhdlValue& value) {
        for (const VhdlBlockConfiguration* bc : configs) {
            const VhdlTreeNode* index = bc->GetIndexSpecification();
            if (!index) return bc;
            try {
                uint32_t kind = index->GetClassId();
                if (kind == VhdlRange::kClassId || kind == VhdlExplicitSubtypeIndication::kClassId ||
                    kind == VhdlAttributeName::kClassId) {
                    const VhdlType* t = nullptr;
                    if (ev.EvaluateRange(index, &t).Contains(value.i)) return bc;
                } else if (VhdlValueEqual(ev.Conform(ev.Evaluate(index, value.type), value.type, index), value)) {
                    return bc;
                }
            } catch (const VhdlEvalError& e) {
                Report(e);
            }
        }
        return nullptr;
    }

    const VhdlBlockConfiguration* NestedConfig(const Region& r, const VhdlStatement& stmt,
                                               const VhdlTreeNode* alternative) {
        if (!r.config) return nullptr;
        std::vector<VhdlBlockConfiguration*> configs = r.config->ConfigurationsOf(stmt);
        for (VhdlBlockConfiguration* bc : configs)
            if (!alternative || bc->block == alternative || bc->block == &stmt) return bc;
        return nullptr;
    }

    // The statements of a generate body (or a block) in a frame of their own.
    void ElaborateBody(VhdlStatement& owner, const VhdlNodeList& declarations, const VhdlNodeList& statements,
                       VhdlIdDef* label, const VhdlBlockConfiguration* config, const std::string& prefix, Region& r,
                       VhdlFrame* frame) {
        ev.Declare(frame, declarations);
        std::vector<VhdlTreeNode*> inner;
        Region region{r.instances, &inner, prefix, config, r.configDecl, r.library};
        ElaborateStatements(statements, region);
        r.statements->push_back(MakeBlock(label, &owner, inner));
    }

    void ElaborateStatement(VhdlTreeNode* s, Region& r) {
        switch (s->GetClassId()) {
        case VhdlComponentInstantiationStatement::kClassId:
            ElaborateInstance(*static_cast<VhdlComponentInstantiationStatement*>(s), r);
            return;
        case VhdlBlockStatement::kClassId: {
            auto* b = static_cast<VhdlBlockStatement*>(s);
            std::string label = b->label ? std::string(b->label->OrigName()) : "";
            VhdlFrameScope scope(ev, b);
            if (b->generics) {
                Actuals actuals;
                MapGenerics(b->generics->map, GenericIds(b->generics->clause), label, scope.Frame(), actuals);
                BindGenerics(b->generics->clause, actuals, b->label, b);
            }
            if (b->ports) DeclarePorts(scope.Frame(), b->ports->clause);
            ElaborateBody(*b, b->declarations, b->statements, b->label, NestedConfig(r, *b, nullptr),
                          r.prefix + PathStep(label) + ".", r, scope.Frame());
            return;
        }
        case VhdlGenerateStatement::kClassId: {
            auto* g = static_cast<VhdlGenerateStatement*>(s);
            std::string label = g->label ? PathStep(g->label->OrigName()) : "";
            if (auto* loop = dynamic_cast<VhdlForScheme*>(g->scheme)) {
                const VhdlType* type = nullptr;
                VhdlBounds range = ev.EvaluateRange(loop->range, &type);
                int64_t n = range.Length();
                if (uint64_t(n) > limits.loopIterations)
                    ev.Fail<vhdl_msg::ElabGenerateTooLong>(
                        g, label.c_str(), std::to_string(static_cast<long long>(n)).c_str(),
                        std::to_string(static_cast<unsigned long long>(limits.loopIterations)).c_str());
                std::vector<VhdlBlockConfiguration*> configs =
                    r.config ? r.config->ConfigurationsOf(*g) : std::vector<VhdlBlockConfiguration*>();
                for (int64_t k = 0; k < n; ++k) {
                    ev.Step(g);
                    int64_t pos = range.At(k);
                    VhdlValue value = type && type->kind == VhdlTypeKind::Enumeration
                                          ? VhdlValue::Enumeration(pos, type)
                                          : VhdlValue::Integer(pos, type);
                    // As GHDL names iterations: 3, -1, idle, 'a'.
                    std::string image = VhdlImage(value);
                    VhdlFrameScope scope(ev, g);
                    ev.Bind(scope.Frame(), loop->id, value, type);
                    const VhdlBlockConfiguration* config = configs.empty() ? nullptr : IterationConfig(configs, value);
                    ElaborateBody(*g, g->declarations, g->statements,
                                  IterationLabel("\\" + label + "(" + image + ")\\", g), config,
                                  r.prefix + label + "[" + image + "].", r, scope.Frame());
                }
                return;
            }
            auto* cond = dynamic_cast<VhdlIfScheme*>(g->scheme);
            if (cond && !ev.EvaluateCondition(cond->condition)) return;
            VhdlFrameScope scope(ev, g);
            ElaborateBody(*g, g->declarations, g->statements, g->label, NestedConfig(r, *g, nullptr),
                          r.prefix + label + ".", r, scope.Frame());
            return;
        }
        case VhdlIfElsifGenerateStatement::kClassId: {
            auto* stmt = static_cast<VhdlIfElsifGenerateStatement*>(s);
            std::string label = stmt->label ? PathStep(stmt->label->OrigName()) : "";
            for (VhdlTreeNode* a : stmt->alternatives) {
                auto* alt = dynamic_cast<VhdlGenerateStatement*>(a);
                if (!alt) continue;
                const VhdlExpression* condition = nullptr;
                if (auto* i = dynamic_cast<VhdlIfScheme*>(alt->scheme)) condition = i->condition;
                else if (auto* e = dynamic_cast<VhdlElsifElseScheme*>(alt->scheme)) condition = e->condition;
                if (condition && !ev.EvaluateCondition(condition)) continue;
                VhdlFrameScope scope(ev, alt);
                ElaborateBody(*stmt, alt->declarations, alt->statements, stmt->label, NestedConfig(r, *stmt, alt),
                              r.prefix + label + ".", r, scope.Frame());
                return;
            }
            return;
        }
        case VhdlCaseGenerateStatement::kClassId: {
            auto* stmt = static_cast<VhdlCaseGenerateStatement*>(s);
            std::string label = stmt->label ? PathStep(stmt->label->OrigName()) : "";
            VhdlValue selector = ev.Evaluate(stmt->expression, nullptr);
            for (VhdlTreeNode* a : stmt->alternatives) {
                auto* alt = dynamic_cast<VhdlGenerateStatement*>(a);
                auto* scheme = alt ? dynamic_cast<VhdlCaseItemScheme*>(alt->scheme) : nullptr;
                if (!scheme || !ev.Matches(selector, scheme->choices)) continue;
                VhdlFrameScope scope(ev, alt);
                ElaborateBody(*stmt, alt->declarations, alt->statements, stmt->label, NestedConfig(r, *stmt, alt),
                              r.prefix + label + ".", r, scope.Frame());
                return;
            }
            return;
        }
        default: return;
        }
    }

    // ---- instances

    void ElaborateInstance(VhdlComponentInstantiationStatement& inst, Region& r) {
        std::string label = inst.label ? PathStep(inst.label->OrigName()) : "";
        VhdlBinding binding = VhdlBindingOf(inst, r.config);
        const VhdlComponentConfiguration* cc = r.config ? r.config->ConfigurationOf(inst) : nullptr;
        VhdlComponentDecl* comp = inst.GetComponent();
        auto* entity = dynamic_cast<VhdlEntityDecl*>(binding.entity);

        // The configuration declaration a bound unit is configured by, for its name.
        const VhdlConfigurationDecl* configDecl = nullptr;
        if (binding.configuration) {
            const VhdlConfigurationDecl* named =
                cc && cc->HasEntityAspect() ? cc->GetBoundConfiguration() : inst.GetBoundConfiguration();
            configDecl = named && named->blockConfiguration == binding.configuration ? named : r.configDecl;
        }
        std::string_view archName = inst.GetArchitectureName();
        if (cc && cc->HasEntityAspect() && cc->binding && cc->binding->entityAspect)
            archName = VhdlSplitUnitName(cc->binding->entityAspect->name).architecture;
        auto* arch = dynamic_cast<VhdlArchitectureBody*>(binding.architecture);
        if (entity && !arch && !archName.empty() && !binding.configuration)
            ev.Fail<vhdl_msg::ElabArchitectureMissing>(
                &inst, std::string(entity->id ? entity->id->OrigName() : "").c_str(), std::string(archName).c_str());
        if (entity && !arch) arch = dynamic_cast<VhdlArchitectureBody*>(entity->GetSecondaryUnit(nullptr));

        // Component generics first, in a frame of the component; the binding maps them on.
        VhdlFrameScope compScope(ev, comp ? static_cast<VhdlTreeNode*>(comp) : &inst);
        Actuals actuals;
        std::vector<const VhdlIdDef*> entityGenerics =
            entity ? GenericIds(entity->generics) : std::vector<const VhdlIdDef*>();
        std::string_view entityName = entity && entity->id ? entity->id->OrigName() : std::string_view();
        if (comp) {
            Actuals compActuals;
            VhdlFrame* caller = compScope.Frame()->caller;
            MapGenerics(inst.genericMap, GenericIds(comp->generics), comp->id ? comp->id->OrigName() : "", caller,
                        compActuals);
            BindGenerics(comp->generics, compActuals, comp->id, &inst);
            const VhdlBindingIndication* bi = cc && cc->binding ? cc->binding : inst.GetBindingIndication();
            if (entity && bi && !bi->genericMap.Empty()) {
                MapGenerics(bi->genericMap, entityGenerics, entityName, compScope.Frame(), actuals);
            } else if (entity) {
                // Default: entity generics take the component generics of the same name.
                for (const VhdlIdDef* cg : GenericIds(comp->generics)) {
                    if (!cg) continue;
                    const VhdlIdDef* eg = FindGeneric(entityGenerics, cg->OrigName());
                    VhdlSlot* slot = compScope.Frame()->slots.count(cg) ? &compScope.Frame()->slots[cg] : nullptr;
                    if (!eg || !slot) continue;
                    Actual a;
                    if (slot->value.IsNone()) a.type = slot->type;
                    else a.value = slot->value;
                    actuals[eg] = a;
                }
            }
        } else if (entity) {
            MapGenerics(inst.genericMap, entityGenerics, entityName, compScope.Frame()->caller, actuals);
        }

        ElabUnitId target = 0;
        VhdlEntityDecl* boundEntity = nullptr;
        VhdlArchitectureBody* boundArch = nullptr;
        if (entity) {
            target = ElaborateUnit(entity, arch, binding.configuration, configDecl, actuals, &inst);
            const Target& t = targets[target];
            boundEntity = t.entity;
            boundArch = t.architecture;
        } else {
            std::string name =
                comp && comp->id ? std::string(comp->id->OrigName()) : std::string(VhdlSplitUnitName(inst.unit).unit);
            if (foreign && !inst.IsUnitNameInactive()) {
                ElabUnitRequest request;
                request.library = std::string(inst.GetLibraryName());
                request.name = name;
                request.architecture = std::string(inst.GetArchitectureName());
                request.location = inst.Linefile();
                if (comp) {
                    for (const VhdlIdDef* cg : GenericIds(comp->generics)) {
                        auto it = cg ? compScope.Frame()->slots.find(cg) : compScope.Frame()->slots.end();
                        if (it == compScope.Frame()->slots.end() || it->second.value.IsNone()) continue;
                        request.params.push_back({std::string(cg->OrigName()), ToParam(it->second.value)});
                    }
                } else {
                    // An entity instantiation of a module: the map as written, named or
                    // by position, evaluated here; the module checks the names.
                    for (VhdlTreeNode* a : inst.genericMap) {
                        auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
                        const VhdlTreeNode* actual = assoc ? assoc->actual : a;
                        if (!actual || actual->GetClassId() == VhdlOpen::kClassId) continue;
                        std::string formal(assoc && assoc->formal ? SimpleName(assoc->formal) : "");
                        VhdlValue v = ev.EvaluateIn(compScope.Frame()->caller, actual, nullptr);
                        request.params.push_back({formal, ToParam(v)});
                    }
                }
                // The port map: a component's formals by name, those of an entity
                // instantiation as written.
                const std::vector<const VhdlIdDef*> compPorts =
                    comp ? PortIds(comp->ports) : std::vector<const VhdlIdDef*>();
                size_t position = 0;
                for (VhdlTreeNode* a : inst.portMap) {
                    auto* assoc = dynamic_cast<const VhdlAssocElement*>(a);
                    ElabPortActual port;
                    if (assoc && assoc->formal) port.name = std::string(SimpleName(assoc->formal));
                    else if (position < compPorts.size() && compPorts[position])
                        port.name = compPorts[position]->OrigName();
                    ++position;
                    const VhdlTreeNode* actual = assoc ? assoc->actual : a;
                    port.width = actual ? ActualWidth(actual) : -1;
                    request.ports.push_back(std::move(port));
                }
                target = foreign(design, request);
            }
            if (target == kElabUnitFailed) {
                // Verilog told why; the instance stays unbound without claiming the unit is missing.
                ColLineFile loc = inst.Linefile();
                Message::Tell<vhdl_msg::ElabForeignFailed>(&loc, name.c_str(), label.c_str());
                target = design.Unbound(r.library, Lower(name));
            }
            if (!target && !inst.InstantiatesComponent()) {
                // An entity or configuration instantiation names its unit: it must exist.
                VhdlUnitNameParts parts = VhdlSplitUnitName(inst.unit);
                ev.Fail<vhdl_msg::ElabUnitNotAnalysed>(
                    &inst,
                    inst.unit && dynamic_cast<VhdlInstantiatedUnit*>(inst.unit) &&
                            static_cast<VhdlInstantiatedUnit*>(inst.unit)->entityClass == VHDL_CONFIGURATION
                        ? "configuration"
                        : "entity",
                    std::string(parts.unit).c_str(),
                    parts.library.empty() ? r.library.c_str() : std::string(parts.library).c_str());
            }
            if (!target) {
                target = design.Unbound(r.library, Lower(name));
                if (!inst.IsUnitNameInactive() && warnedUnbound.insert(&inst).second) {
                    ColLineFile loc = inst.Linefile();
                    Message::Tell<vhdl_msg::ElabInstanceUnbound>(&loc, label.c_str(), name.c_str());
                }
            }
        }
        Made(&inst);
        r.instances->push_back({r.prefix + label, target});
        auto* copy = VhdlElabStore::Nodes().make<VhdlComponentInstantiationStatement>(inst);
        copy->sourceStatement = &inst;
        copy->boundEntity = boundEntity;
        copy->boundArchitecture = boundArch;
        // The Verilog copy that answered, so that a reader of the tree reaches it.
        const ElabUnit& used = design.Unit(target);
        if (used.language == ElabLanguage::Verilog)
            copy->foreignUnit = {Symbol::Intern(used.library), Symbol::Intern(used.copyName), Symbol()};
        r.statements->push_back(copy);
    }
};

VhdlElaborator::VhdlElaborator(ElabDesign& design, const ElabLimits& limits)
    : impl_(std::make_unique<Impl>(design, limits)) {}

VhdlElaborator::~VhdlElaborator() = default;

void VhdlElaborator::SetForeignLookup(ElabUnitLookup lookup) { impl_->foreign = std::move(lookup); }

unsigned VhdlElaborator::ErrorCount() const { return impl_->errors; }

VhdlEvaluator& VhdlElaborator::Evaluator() { return impl_->ev; }

bool VhdlElaborator::HasGeneric(const VhdlPrimaryUnit* unit, const std::string& name) {
    if (auto* config = dynamic_cast<const VhdlConfigurationDecl*>(unit)) unit = config->entity;
    auto* entity = dynamic_cast<const VhdlEntityDecl*>(unit);
    return entity && FindGeneric(GenericIds(entity->generics), name);
}

ElabUnitId VhdlElaborator::ElaborateTop(VhdlPrimaryUnit* unit, VhdlSecondaryUnit* architecture,
                                        const ElabGenericMap& generics) {
    Impl& m = *impl_;
    const VhdlBlockConfiguration* config = nullptr;
    const VhdlConfigurationDecl* configDecl = nullptr;
    if (auto* c = dynamic_cast<VhdlConfigurationDecl*>(unit)) {
        configDecl = c;
        config = c->blockConfiguration;
        unit = c->entity;
        if (!architecture) architecture = c->architecture;
        if (!unit) {
            m.Error(vhdl_msg::kElabConfiguration, c, "configuration '%s' names no analysed entity",
                    std::string(c->id ? c->id->OrigName() : "").c_str());
            return 0;
        }
    }
    auto* entity = dynamic_cast<VhdlEntityDecl*>(unit);
    if (!entity) return 0;
    if (!architecture) architecture = entity->GetSecondaryUnit(nullptr);
    Actuals actuals;
    for (const VhdlIdDef* g : GenericIds(entity->generics)) {
        if (!g) continue;
        for (const ElabGenericValue& v : generics) {
            if (!SameIdName(g->OrigName(), v.name)) continue;
            Actual a;
            a.text = &v.value;
            actuals[g] = a;
        }
    }
    ElabUnitId id = 0;
    try {
        id = m.ElaborateUnit(entity, dynamic_cast<VhdlArchitectureBody*>(architecture), config, configDecl, actuals,
                             entity);
    } catch (const VhdlEvalError& e) {
        m.Report(e);
        return 0;
    }
    m.design.tops.push_back({std::string(entity->id ? entity->id->OrigName() : ""), id});
    return id;
}

ElabUnitId VhdlElaborator::ElaborateForeign(const ElabUnitRequest& request) {
    Impl& m = *impl_;
    VhdlEntityDecl* entity = nullptr;
    if (!request.library.empty()) {
        if (VhdlLibrary* lib = vhdl_file::GetLibrary(request.library.c_str()))
            entity = dynamic_cast<VhdlEntityDecl*>(lib->GetPrimUnit(request.name.c_str()));
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        if (entity) break;
        entity = dynamic_cast<VhdlEntityDecl*>(lib->GetPrimUnit(request.name.c_str()));
    }
    if (!entity) return 0;
    VhdlSecondaryUnit* arch = request.architecture.empty() ? entity->GetSecondaryUnit(nullptr)
                                                           : entity->GetSecondaryUnit(request.architecture.c_str());
    std::vector<const VhdlIdDef*> formals = GenericIds(entity->generics);
    Actuals actuals;
    size_t position = 0;
    for (const ElabParam& p : request.params) {
        const VhdlIdDef* formal =
            p.name.empty() ? (position < formals.size() ? formals[position++] : nullptr) : FindGeneric(formals, p.name);
        if (!formal) continue;
        // Read against the generic's type once it is known.
        Actual a;
        a.param = &p.value;
        actuals[formal] = a;
    }
    ElabUnitId id = 0;
    try {
        id = m.ElaborateUnit(entity, dynamic_cast<VhdlArchitectureBody*>(arch), nullptr, nullptr, actuals, entity);
    } catch (const VhdlEvalError& e) {
        // A value the instance handed over that the entity cannot take: told at the
        // instance, where the user wrote it.
        m.Report(request.location.fileId ? VhdlEvalError(e.Id(), request.location, e.Text()) : e);
        return kElabUnitFailed;
    }
    if (!id) return kElabUnitFailed;
    m.CheckPortWidths(entity, actuals, request);
    return id;
}

namespace {

VhdlPrimaryUnit* FindTopUnit(const ElabTopRequest& request) {
    auto usable = [](VhdlPrimaryUnit* u) {
        return u && (u->GetClassId() == VhdlEntityDecl::kClassId || u->GetClassId() == VhdlConfigurationDecl::kClassId);
    };
    if (!request.library.empty()) {
        VhdlLibrary* lib = vhdl_file::GetLibrary(request.library.c_str());
        VhdlPrimaryUnit* u = lib ? lib->GetPrimUnit(request.name.c_str()) : nullptr;
        return usable(u) ? u : nullptr;
    }
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        VhdlPrimaryUnit* u = lib->GetPrimUnit(request.name.c_str());
        if (usable(u)) return u;
    }
    return nullptr;
}

} // namespace

unsigned VhdlElaborateTops(VhdlElaborator& elaborator, const std::vector<ElabTopRequest>& tops,
                           const ElabGenericMap& generics, std::vector<const VhdlPrimaryUnit*>& found) {
    unsigned errors = 0;
    for (const ElabTopRequest& top : tops) {
        VhdlPrimaryUnit* unit = FindTopUnit(top);
        if (!unit) {
            Message::Tell<vhdl_msg::ElabTopNotFound>(nullptr, top.name.c_str(),
                                                     top.library.empty() ? "any library"
                                                                         : ("library '" + top.library + "'").c_str());
            ++errors;
            continue;
        }
        VhdlSecondaryUnit* arch = nullptr;
        if (!top.architecture.empty()) {
            VhdlPrimaryUnit* entity = unit;
            if (auto* c = dynamic_cast<VhdlConfigurationDecl*>(unit)) entity = c->entity;
            arch = entity ? entity->GetSecondaryUnit(top.architecture.c_str()) : nullptr;
            if (!arch) {
                Message::Tell<vhdl_msg::ElabTopArchitectureMissing>(nullptr, top.name.c_str(),
                                                                    top.architecture.c_str());
                ++errors;
                continue;
            }
        }
        found.push_back(unit);
        elaborator.ElaborateTop(unit, arch, generics);
    }
    return errors;
}

bool VhdlElaborate(ElabDesign& design, const std::vector<ElabTopRequest>& tops, const ElabGenericMap& generics,
                   const ElabLimits& limits, ElabUnitLookup foreign) {
    VhdlElaborator elaborator(design, limits);
    if (foreign) elaborator.SetForeignLookup(std::move(foreign));
    std::vector<const VhdlPrimaryUnit*> units;
    unsigned errors = VhdlElaborateTops(elaborator, tops, generics, units);
    for (const ElabGenericValue& g : generics) {
        bool used = std::any_of(units.begin(), units.end(),
                                [&](const VhdlPrimaryUnit* u) { return VhdlElaborator::HasGeneric(u, g.name); });
        if (!used) Message::Tell<vhdl_msg::ElabTopGenericUnused>(nullptr, g.name.c_str());
    }
    return errors == 0 && elaborator.ErrorCount() == 0;
}

std::vector<ElabTopRequest> VhdlFindTops() {
    std::unordered_set<const VhdlPrimaryUnit*> instantiated;
    std::unordered_set<std::string> componentNames;
    struct Finder {
        std::unordered_set<const VhdlPrimaryUnit*>& bound;
        std::unordered_set<std::string>& names;
        void Walk(const VhdlNodeList& statements) {
            for (VhdlTreeNode* s : statements) {
                if (auto* inst = dynamic_cast<VhdlComponentInstantiationStatement*>(s)) {
                    if (inst->boundEntity) bound.insert(inst->boundEntity);
                    if (inst->GetBoundConfiguration()) bound.insert(inst->GetBoundConfiguration()->entity);
                    if (inst->InstantiatesComponent()) names.insert(Lower(VhdlSplitUnitName(inst->unit).unit));
                } else if (auto* stmt = dynamic_cast<VhdlStatement*>(s)) {
                    if (const VhdlNodeList* inner = stmt->GetInnerStatements()) Walk(*inner);
                }
            }
        }
    } finder{instantiated, componentNames};
    for (VhdlLibrary* lib : vhdl_file::AllLibraries())
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits())
            for (VhdlSecondaryUnit* s : p->GetSecondaryUnits())
                if (auto* arch = dynamic_cast<VhdlArchitectureBody*>(s)) finder.Walk(arch->statements);
    std::vector<ElabTopRequest> tops;
    for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
        for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
            if (p->GetClassId() != VhdlEntityDecl::kClassId || !p->GetOriginalUnitName().empty()) continue;
            if (!p->GetSecondaryUnit(nullptr) || instantiated.count(p) || componentNames.count(Lower(p->Name())))
                continue;
            tops.push_back({std::string(p->id ? p->id->OrigName() : ""), lib->Name(), ""});
        }
    }
    return tops;
}

} // namespace hdl
