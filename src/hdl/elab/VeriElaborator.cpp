#include "hdl/elab/VeriElaborator.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "hdl/base/Message.h"
#include "hdl/elab/ElabNaming.h"
#include "hdl/elab/VeriConfigBinding.h"
#include "hdl/elab/VeriCopyStamp.h"
#include "hdl/elab/VeriEvaluator.h"
#include "hdl/elab/VeriNodeCast.h"
#include "hdl/elab/VeriPartSelectWidths.h"
#include "hdl/elab/VeriPortWidths.h"
#include "hdl/elab/VeriTimeUnits.h"
#include "hdl/elab/VeriUselib.h"
#include "hdl/elab/VeriVariableWriters.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {

namespace {

bool IsParameterDecl(const VeriTreeNode* item) {
    auto* d = VeriAs<VeriDataDecl>(item);
    return d && (d->kind == VT_PARAMETER || d->kind == VT_LOCALPARAM);
}

// The parameters an instance may override, in declaration order: those of the header's
// list, or, without a list, the `parameter` declarations of the body.
std::vector<const VeriParamId*> OverridableParameters(const VeriModule* m) {
    std::vector<const VeriParamId*> params;
    for (const VeriTreeNode* p : m->parameters) {
        auto* d = VeriAs<VeriDataDecl>(p);
        if (!d || d->kind == VT_LOCALPARAM) continue;
        for (const VeriIdDef* id : d->ids)
            if (auto* pid = VeriAs<VeriParamId>(id)) params.push_back(pid);
    }
    if (!m->parameters.Empty()) return params;
    for (const VeriModuleItem* item : m->items) {
        auto* d = VeriAs<VeriDataDecl>(item);
        if (!d || d->kind != VT_PARAMETER) continue;
        for (const VeriIdDef* id : d->ids)
            if (auto* pid = VeriAs<VeriParamId>(id)) params.push_back(pid);
    }
    return params;
}

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// A value written by a user (-G NAME=VALUE): a string in quotes, a based literal, a
// real, or a decimal integer; anything else is a string.
VeriValue ParseUserValue(const std::string& text) {
    std::string t = text;
    while (!t.empty() && std::isspace(static_cast<unsigned char>(t.back()))) t.pop_back();
    size_t start = 0;
    while (start < t.size() && std::isspace(static_cast<unsigned char>(t[start]))) ++start;
    t = t.substr(start);
    if (t.size() >= 2 && t.front() == '"' && t.back() == '"') return VeriValue::String(t.substr(1, t.size() - 2));
    size_t tick = t.find('\'');
    if (tick != std::string::npos) {
        VeriValue v;
        uint32_t size = tick ? uint32_t(std::strtoul(t.substr(0, tick).c_str(), nullptr, 10)) : 0;
        if (VeriValue::ParseBased(t, size, v)) return v;
    }
    char* end = nullptr;
    long long i = std::strtoll(t.c_str(), &end, 10);
    if (!t.empty() && end && *end == 0) return VeriValue::Int(i, 32, true);
    double r = std::strtod(t.c_str(), &end);
    if (!t.empty() && end && *end == 0) return VeriValue::MakeReal(r);
    return VeriValue::String(t);
}

// A value from VHDL; a time becomes a real count of the module's time unit (`timeUnitFs`),
// as a mixed simulator maps it: no integer of femtoseconds to overflow, nor a fraction of
// a unit lost.
VeriValue FromParam(const ElabParamValue& p, double timeUnitFs) {
    switch (p.kind) {
    case ElabParamValue::Integer: return VeriValue::Int(p.integer, 32, true);
    case ElabParamValue::Time: return VeriValue::MakeReal(double(p.integer) / timeUnitFs);
    case ElabParamValue::Boolean: return VeriValue::Int(p.integer, 1, false);
    case ElabParamValue::Real: return VeriValue::MakeReal(p.real);
    case ElabParamValue::String: return VeriValue::String(p.text);
    case ElabParamValue::Bits: {
        VeriValue v = VeriValue::Bits(uint32_t(std::max<size_t>(p.text.size(), 1)), false);
        for (size_t i = 0; i < p.text.size(); ++i) {
            char c = p.text[p.text.size() - 1 - i];
            v.SetBit(uint32_t(i), c == '1' ? 1 : c == 'x' || c == 'X' ? 2 : c == 'z' || c == 'Z' ? 3 : 0);
        }
        return v;
    }
    case ElabParamValue::Other: return ParseUserValue(p.text);
    }
    return VeriValue();
}

ElabParamValue ToParam(const VeriValue& v) {
    ElabParamValue p;
    int64_t i = 0;
    if (v.IsReal()) {
        p.kind = ElabParamValue::Real;
        p.real = v.real;
    } else if (v.IsVec() && v.isString) {
        p.kind = ElabParamValue::String;
        std::string img = v.Image();
        p.text = img.size() >= 2 ? img.substr(1, img.size() - 2) : img;
    } else if (v.IsVec() && v.ToInt64(i) && (v.isSigned || v.width >= 32)) {
        p.kind = ElabParamValue::Integer;
        p.integer = i;
    } else if (v.IsVec()) {
        p.kind = ElabParamValue::Bits;
        for (uint32_t b = v.width; b-- > 0;) p.text += "01xz"[v.Bit(b)];
    } else {
        p.text = v.Image();
    }
    return p;
}

// A defparam still on its way down: the instance path below the current unit, the
// parameter's name, and the value worked out where the defparam stands.
struct Defparam {
    std::string path; // `u1.u2`, empty for a parameter of the unit itself
    std::string param;
    VeriValue value;
};

// What a parameter of the unit being elaborated gets from above.
struct Override {
    const VeriExpression* expr = nullptr;
    VeriFrame* frame = nullptr;
    bool hasValue = false;
    VeriValue value;
};

// The dotted text of a hierarchical name: `a.b[1].c`.
bool PathText(const VeriExpression* e, VeriEvaluator& eval, VeriFrame* frame, std::string& out) {
    if (auto* ref = VeriAs<VeriIdRef>(e)) {
        out = std::string(ref->name);
        return true;
    }
    if (auto* s = VeriAs<VeriSelectedName>(e)) {
        if (!PathText(s->prefix, eval, frame, out)) return false;
        out += '.';
        out += std::string_view(s->suffix);
        return true;
    }
    if (auto* x = VeriAs<VeriIndexedId>(e)) {
        if (!PathText(x->prefix, eval, frame, out)) return false;
        // An index may come as a range of one bound (`[1]`); a part (`[1:0]`) names no path.
        const VeriExpression* index = x->index;
        if (auto* r = VeriAs<VeriRange>(index)) {
            if (r->right) return false;
            index = r->left;
        }
        int64_t i = 0;
        if (!VeriToInt(eval, eval.Evaluate(index, frame), index, i)) return false;
        out += "[" + std::to_string(i) + "]";
        return true;
    }
    return false;
}

// An instance as the libraries show it after elaboration.
struct InstanceRecord {
    const VeriModuleInstantiation* instantiation;
    const VeriInstId* id;
    std::string name;
    bool generated; // made by elaboration (generate iteration or array element)
    VeriModule* bound;
    ElabUnitId used; // the unit elaboration bound the instance to
};

// Whether a subtree holds a module instantiation (or a defparam, which may reach one).
class HoldsInstances : public VeriVisitor {
public:
    using VeriVisitor::Visit;
    void Visit(VeriModuleInstantiation&) override { found = true; }
    void Visit(VeriDefParam&) override { found = true; }
    // Expressions, statements and declarations hold none.
    void Visit(VeriExpression&) override {}
    void Visit(VeriStatement&) override {}
    void Visit(VeriDataDecl&) override {}
    void Visit(VeriContinuousAssign&) override {}
    void Visit(VeriAlwaysConstruct&) override {}
    void Visit(VeriInitialConstruct&) override {}
    void Visit(VeriFunctionDecl&) override {}
    bool found = false;
};

// A member named through an interface port (`bus.W`, `bus[1].d`), and whether it
// stands where its shape counts (an array query, `$bits`, `type()`).
struct PortRead {
    const VeriIdDef* port;
    Symbol member;
    bool shape;
};

class InterfaceReads : public VeriVisitor {
public:
    using VeriVisitor::Visit;
    explicit InterfaceReads(std::unordered_set<const VeriIdDef*> ports) : ports_(std::move(ports)) {}
    void Visit(VeriSystemFunctionCall& node) override {
        static const std::unordered_set<std::string_view> kShapeQueries = {
            "$bits", "$size", "$left", "$right", "$high", "$low", "$increment", "$dimensions", "$unpacked_dimensions"};
        bool query = kShapeQueries.count(std::string_view(node.name)) != 0;
        shape_ += query;
        VeriVisitor::Visit(node);
        shape_ -= query;
    }
    void Visit(VeriTypeOperator& node) override {
        ++shape_;
        VeriVisitor::Visit(node);
        --shape_;
    }
    void Visit(VeriSelectedName& node) override {
        const VeriExpression* root = node.prefix;
        for (;;) {
            if (auto* x = VeriAs<VeriIndexedId>(root)) root = x->prefix;
            else if (auto* m = VeriAs<VeriIndexedMemoryId>(root)) root = m->prefix;
            else break;
        }
        auto* ref = VeriAs<VeriIdRef>(root);
        if (ref && ports_.count(ref->id)) reads.push_back({ref->id, node.suffix, shape_ > 0});
        VeriVisitor::Visit(node);
    }
    std::vector<PortRead> reads;

private:
    std::unordered_set<const VeriIdDef*> ports_;
    int shape_ = 0;
};

class InstantiatedNames : public VeriVisitor {
public:
    using VeriVisitor::Visit;
    void Visit(VeriModuleInstantiation& node) override {
        names.insert(std::string(node.GetModuleName()));
        VeriVisitor::Visit(node);
    }
    std::unordered_set<std::string> names;
};

} // namespace

VeriModule* VeriFindModule(std::string_view name, std::string_view library, const VeriModule* from) {
    auto usable = [](VeriModule* m) {
        return m && !m->IsPackage() && !m->IsConfiguration() && !m->IsRootModule() ? m : nullptr;
    };
    if (!library.empty()) {
        VeriLibrary* lib = veri_file::GetLibrary(std::string(library).c_str());
        return lib ? usable(lib->GetModule(name)) : nullptr;
    }
    if (from && from->GetLibrary())
        if (VeriModule* m = usable(from->GetLibrary()->GetModule(name))) return m;
    for (const std::string& l : veri_file::GetLOptions()) {
        VeriLibrary* lib = veri_file::GetLibrary(l.c_str());
        if (VeriModule* m = lib ? usable(lib->GetModule(name)) : nullptr) return m;
    }
    for (VeriLibrary* lib : veri_file::AllLibraries())
        if (VeriModule* m = usable(lib->GetModule(name))) return m;
    return nullptr;
}

struct VeriElaborator::Impl {
    Impl(ElabDesign& d, const ElabLimits& l) : design(d), limits(l), eval(l) {}

    ElabDesign& design;
    ElabLimits limits;
    VeriEvaluator eval;
    ElabUnitLookup foreign;
    unsigned errors = 0;
    uint64_t statements = 0;
    bool statementsExhausted = false;
    std::unordered_map<std::string, ElabUnitId> units; // by library, module and copy name
    std::unordered_map<ElabUnitId, VeriModule*> modules; // the tree of each unit
    std::unordered_set<std::string> inProgress; // keys of the units being walked
    std::unordered_set<const VeriModule*> writersChecked;
    std::unordered_set<const VeriRange*> zeroWidthsTold;
    // Per module, its indexed part-selects to check in each unit (VeriPartSelectWidths.h).
    std::unordered_map<const VeriModule*, std::vector<const VeriRange*>> partSelects;
    std::unordered_map<const VeriModuleItem*, bool> holdsInstances;
    VeriConfigState config; // the configuration in force for the unit being elaborated
    // The configuration whose design cell the unit about to be elaborated is.
    const VeriConfiguration* designCellOf = nullptr;
    // Units named after the configuration they were elaborated under: their instances
    // bind otherwise than the plain search would (see ConfigCopyName).
    std::unordered_set<ElabUnitId> configured;
    // What each instance of a unit stored under a configuration's copy name binds to, in
    // order: the module stored for it, else the unit used (a VHDL copy, an unbound
    // unit). One module with one set of values has the same instances, so units of one
    // name with the same bindings are the same tree and share the name.
    using Bindings = std::vector<std::pair<const VeriModule*, ElabUnitId>>;
    std::unordered_map<std::string, Bindings> configNames; // by library and copy name
    using InterfacePorts = std::vector<ElabUnit::InterfacePort>;
    const InterfacePorts* interfaces = nullptr; // those of the unit being elaborated
    InterfacePorts pendingInterfaces; // those of the unit about to be elaborated
    // An interface port of a module: its position among the ports, and the interface its
    // type names (null for a generic `interface` port).
    struct InterfacePortDecl {
        const VeriIdDef* id;
        const VeriAnsiPortDecl* decl;
        size_t position;
        const VeriModule* type;
    };
    struct ModuleInterfacePorts {
        std::vector<InterfacePortDecl> ports;
        std::vector<PortRead> reads; // members the body reads through them
    };
    std::unordered_map<const VeriModule*, ModuleInterfacePorts> interfacePortsOf;
    const ModuleInterfacePorts& InterfacePortsOf(const VeriModule* m);
    // The parameters of each interface copy, kept for the members read through the ports
    // it is connected to (interfaces are few; other frames end with their walk).
    struct InterfaceCopy {
        const VeriModule* module;
        std::unique_ptr<VeriFrame> frame;
    };
    std::unordered_map<ElabUnitId, InterfaceCopy> interfaceCopies;
    // The interface ports whose connected interface the unit's body depends on.
    std::unordered_map<ElabUnitId, std::vector<std::string>> dependentPorts;
    // A bind directive: into every instance of a module (no paths), into the listed
    // instances of a module (`bind m : top.u1, u2`), or into one instance whatever its
    // module (`bind top.u1 ...`, its path and no module).
    struct Bind {
        const VeriBindDirective* directive;
        std::vector<std::string> paths; // as written, dotted
    };
    // bind directives by the name of the module they bind into, in library order.
    std::unordered_map<std::string, std::vector<Bind>> binds;
    std::vector<Bind> pathBinds; // into one instance by its path
    bool bindsByPath = false; // some bind names instances: units differ by their path
    bool bindsCollected = false;
    std::string path; // the instance path of the unit being elaborated (`top.u1`)

    void CollectBinds() {
        if (bindsCollected) return;
        bindsCollected = true;
        for (VeriLibrary* lib : veri_file::AllLibraries()) {
            for (VeriModule* m : lib->AllModules()) {
                if (!m->GetOriginalModuleName().empty()) continue;
                for (const VeriModuleItem* item : m->items) {
                    auto* b = VeriAs<VeriBindDirective>(item);
                    auto* inst = b ? VeriAs<VeriModuleInstantiation>(b->instantiation) : nullptr;
                    if (!inst || !b->target) continue;
                    Bind bind{b, {}};
                    VeriFrame constants;
                    std::string text;
                    for (const VeriExpression* t : b->targetInstances)
                        if (t && PathText(t, eval, &constants, text)) bind.paths.push_back(text);
                    bindsByPath = bindsByPath || !bind.paths.empty();
                    if (VeriAs<VeriIdRef>(b->target)) {
                        binds[std::string(b->target->GetName())].push_back(std::move(bind));
                    } else if (PathText(b->target, eval, &constants, text)) {
                        bind.paths = {text};
                        bindsByPath = true;
                        pathBinds.push_back(std::move(bind));
                    }
                }
            }
        }
    }

    // Whether a path as written names the instance at `full`: the whole path, or its
    // end (a path relative to where the bind stands).
    static bool NamesPath(const std::string& written, const std::string& full) {
        if (written == full) return true;
        return full.size() > written.size() && full[full.size() - written.size() - 1] == '.' &&
               full.compare(full.size() - written.size(), written.size(), written) == 0;
    }
    static bool Names(const Bind& b, const std::string& full) {
        for (const std::string& p : b.paths)
            if (NamesPath(p, full)) return true;
        return false;
    }
    // Whether a bind by path reaches the unit at `path` or an instance below it.
    bool BindsAtOrBelow() const {
        auto reaches = [&](const std::string& written) {
            for (size_t from = 0;;) {
                std::string_view end = std::string_view(path).substr(from);
                if (written.size() >= end.size() && written.compare(0, end.size(), end) == 0 &&
                    (written.size() == end.size() || written[end.size()] == '.'))
                    return true;
                size_t dot = path.find('.', from);
                if (dot == std::string::npos) return false;
                from = dot + 1;
            }
        };
        for (const auto& [name, list] : binds)
            for (const Bind& b : list)
                for (const std::string& p : b.paths)
                    if (reaches(p)) return true;
        for (const Bind& b : pathBinds)
            if (reaches(b.paths[0])) return true;
        return false;
    }

    // A generate loop without instances adds nothing to the hierarchy: it is not unrolled.
    bool HoldsInstance(const VeriModuleItem* item) {
        auto it = holdsInstances.find(item);
        if (it != holdsInstances.end()) return it->second;
        HoldsInstances v;
        v.TraverseNode(const_cast<VeriModuleItem*>(item));
        holdsInstances.emplace(item, v.found);
        return v.found;
    }
    uint32_t depth = 0;

    // The walk of one unit.
    struct Unit {
        VeriModule* module;
        std::vector<ElabInstance> instances;
        std::vector<InstanceRecord> records;
        std::vector<Defparam> defparams;
        bool configured = false; // an instance binds otherwise than the plain search
        // Own interface ports handed on to an instance whose unit depends on them.
        std::unordered_set<std::string> handedToDependent;
        // The interface instances by name (`gen[1].b`), an interface array also by its
        // own name (`ba` beside `ba[0]`): ports look up their actuals here.
        std::unordered_map<std::string, ElabUnitId> interfaceInstances;
    };

    void Error() { ++errors; }

    bool CountStatement(const VeriTreeNode* where) {
        if (statementsExhausted) return false;
        if (++statements <= limits.statements) return true;
        statementsExhausted = true;
        Error();
        ColLineFile loc = where->Linefile();
        Message::Tell<veri_msg::ElabSteps>(&loc, "elaborated statements");
        return false;
    }

    // Registers the parameters that a list of items declares in `frame`.
    static void DeclareParameters(const ArenaArray<VeriModuleItem*>& items, VeriFrame& frame) {
        for (const VeriModuleItem* item : items) {
            if (!IsParameterDecl(item)) continue;
            for (const VeriIdDef* id : static_cast<const VeriDataDecl*>(item)->ids)
                if (id) frame.pending[id].expr = id->GetInitialValue();
        }
    }

    ElabUnitId Elaborate(VeriModule* m, std::unordered_map<const VeriIdDef*, Override> overrides,
                         std::vector<Defparam> defparams, const VeriTreeNode* where);
    void Walk(Unit& unit, const ArenaArray<VeriModuleItem*>& items, VeriFrame* frame, const std::string& prefix,
              VeriScope* scope);
    void WalkItem(Unit& unit, const VeriModuleItem* item, VeriFrame* frame, const std::string& prefix, VeriScope* scope,
                  unsigned& construct);
    void Block(Unit& unit, const VeriModuleItem* item, VeriFrame* frame, const std::string& prefix, VeriScope* scope,
               const std::string& name);
    void GenerateFor(Unit& unit, const VeriGenerateFor* loop, VeriFrame* frame, const std::string& prefix,
                     VeriScope* scope, unsigned construct);
    // `made`: the instances are elaboration's (a bind's), not the module's own.
    void Instantiate(Unit& unit, const VeriModuleInstantiation* inst, VeriFrame* frame, const std::string& prefix,
                     bool made = false);
    void CollectDefparams(Unit& unit, const ArenaArray<VeriModuleItem*>& items, VeriFrame* frame,
                          const std::string& prefix);
    std::string GenblkName(unsigned construct, VeriScope* scope) const;
    // `from`: per port connected, the unit's own interface port it was handed on from
    // (empty when none).
    bool ConnectInterfaces(const Unit& unit, const VeriModule* module, const VeriInstId* id, VeriFrame* frame,
                           const std::string& prefix, const std::string& instName, InterfacePorts& out,
                           std::vector<std::string>& from);
    // The unit of the interface instance `name` of the unit's module, declared by `inst`
    // further down than an actual that names it.
    ElabUnitId InterfaceAhead(const Unit& unit, const VeriModuleInstantiation* inst, VeriFrame* frame,
                              const std::string& name);
    std::unordered_set<const VeriModuleInstantiation*> interfacesAhead; // being made ahead
    // The own interface ports whose interface the body of `m`, elaborated as `unit`, depends on.
    std::vector<std::string> DependentPorts(const VeriModule* m, const Unit& unit, const InterfacePorts& connected);
    VeriModule* Store(VeriModule* m, const std::string& copyName, const std::vector<InstanceRecord>& records);
    // The name of a unit elaborated under configuration `c` that binds otherwise than
    // the plain search: `name_c_default` or `name_c(P=value,...)`; a later unit of that
    // name whose instances bind otherwise again takes `name_c_1_default`, `name_c_2...`.
    std::string ConfigCopyName(const VeriModule* m, const VeriConfiguration* c,
                               const std::vector<std::pair<std::string, std::string>>& differing,
                               const std::vector<InstanceRecord>& records);
    // A VHDL instance's actuals against the ports of the module elaborated for it.
    void CheckPortWidths(VeriModule* m, const std::unordered_map<const VeriIdDef*, Override>& overrides,
                         const ElabUnitRequest& request);
    // The copiers of the call, one for modules and one for the instantiations of the
    // identifiers elaboration makes: each builds its table once, not once per copy.
    std::unique_ptr<TreeCopier> moduleCopier, instantiationCopier;
    static TreeCopier& Fresh(std::unique_ptr<TreeCopier>& copier, Arena& arena) {
        if (copier) copier->Restart(arena);
        else copier = std::make_unique<TreeCopier>(arena);
        return *copier;
    }
    // Copies of a module past the first few are stamped (VeriCopyStamp.h): per original,
    // the copies made and what a deep copy took, and the stamp once made.
    struct Stamping {
        unsigned copies = 0;
        size_t bytes = 0;
        bool tried = false;
        std::unique_ptr<VeriCopyStamp> stamp;
    };
    std::unordered_map<const VeriModule*, Stamping> stamping;
    // A copy of `m` into `arena`; `mapped` maps a node of m to its copy.
    VeriModule* CopyModule(const VeriModule* m, Arena& arena,
                           std::function<VeriModuleInstantiation*(const VeriModuleInstantiation*)>& mapped);
    // The VHDL copy a unit is, for an instance that VHDL answered; empty otherwise.
    ForeignUnitRef ForeignUnitOf(ElabUnitId unit) const;
};

const VeriElaborator::Impl::ModuleInterfacePorts& VeriElaborator::Impl::InterfacePortsOf(const VeriModule* m) {
    auto known = interfacePortsOf.find(m);
    if (known != interfacePortsOf.end()) return known->second;
    ModuleInterfacePorts result;
    std::unordered_set<const VeriIdDef*> ids;
    size_t position = 0;
    for (const VeriTreeNode* port : m->ports) {
        auto* decl = VeriAs<VeriAnsiPortDecl>(port);
        if (!decl) {
            ++position;
            continue;
        }
        // `bus_if.mp bus` and `interface bus` are marked; `bus_if bus` is known by its type.
        const VeriModule* type = nullptr;
        if (decl->dataType && VeriAs<VeriTypeRef>(decl->dataType)) {
            VeriModule* named = VeriFindModule(decl->dataType->GetName(), "", m);
            if (named && named->IsInterface()) type = named;
        }
        bool interfacePort = decl->interfacePort || type;
        for (const VeriIdDef* id : decl->ids) {
            size_t pos = position++;
            if (!id || !interfacePort) continue;
            result.ports.push_back({id, decl, pos, type});
            ids.insert(id);
        }
    }
    if (!ids.empty()) {
        InterfaceReads reads(std::move(ids));
        reads.TraverseNode(const_cast<VeriModule*>(m));
        result.reads = std::move(reads.reads);
    }
    return interfacePortsOf.emplace(m, std::move(result)).first->second;
}

std::vector<std::string> VeriElaborator::Impl::DependentPorts(const VeriModule* m, const Unit& unit,
                                                              const InterfacePorts& connected) {
    std::vector<std::string> result;
    const ModuleInterfacePorts& own = InterfacePortsOf(m);
    for (const ElabUnit::InterfacePort& p : connected) {
        if (!p.unit) continue;
        auto copy = interfaceCopies.find(p.unit);
        const VeriModule* intf = copy == interfaceCopies.end() ? nullptr : copy->second.module;
        bool depends = unit.handedToDependent.count(p.port) != 0;
        for (const PortRead& r : own.reads) {
            if (depends) break;
            if (r.port->Name() != p.port) continue;
            // A parameter or type of the interface, or the shape of one of its members.
            const VeriIdDef* member = intf && intf->GetScope() ? intf->GetScope()->findLocal(r.member) : nullptr;
            depends = r.shape || VeriAs<VeriParamId>(member) || (member && member->IsType());
        }
        if (depends) result.push_back(p.port);
    }
    return result;
}

// The interface instance each interface port of `module` is connected to by the instance
// `id` of the unit: an interface instance (or interface array) of the unit, the innermost
// generate block first, or an interface port of the unit itself, handed on. An actual
// written `b.mp` gives the modport, unless the port names one itself. A generic port left
// open, and any interface port connected to something that is no interface, are
// reported; a typed port left open is left out (a read through it is reported); an
// actual not found yet (an interface instance further down the unit) is recorded as
// unit 0.
bool VeriElaborator::Impl::ConnectInterfaces(const Unit& unit, const VeriModule* module, const VeriInstId* id,
                                             VeriFrame* frame, const std::string& prefix, const std::string& instName,
                                             InterfacePorts& out, std::vector<std::string>& from) {
    bool named = false, dotStar = false;
    for (const VeriExpression* pc : id->portConnects) {
        named = named || VeriAs<VeriPortConnect>(pc) || VeriAs<VeriDotStar>(pc);
        dotStar = dotStar || VeriAs<VeriDotStar>(pc);
    }
    for (const InterfacePortDecl& port : InterfacePortsOf(module).ports) {
        const VeriIdDef* pid = port.id;
        const VeriExpression* actual = nullptr;
        std::string text;
        for (const VeriExpression* pc : id->portConnects)
            if (auto* n = VeriAs<VeriPortConnect>(pc); n && n->portName == pid->Name()) actual = n->connection;
        if (!actual && !named && port.position < id->portConnects.Size()) actual = id->portConnects[port.position];
        ElabUnit::InterfacePort bound{std::string(pid->Name()), 0, std::string(port.decl->modport)};
        const VeriExpression* base = actual;
        if (auto* sel = VeriAs<VeriSelectedName>(actual)) {
            base = sel->prefix;
            if (bound.modport.empty()) bound.modport = std::string(sel->suffix);
        }
        if (base && !PathText(base, eval, frame, text)) base = nullptr;
        if (!actual && dotStar) text = bound.port;
        if (text.empty() && !actual && port.type) continue; // an open typed port
        bool found = false;
        std::string handedFrom;
        if (!text.empty()) {
            // The innermost generate block first, then outwards; an interface array
            // (`b[4]`) is one copy, named by its elements.
            for (std::string scope = prefix;;) {
                auto inst = unit.interfaceInstances.find(scope + text);
                if (inst != unit.interfaceInstances.end()) {
                    bound.unit = inst->second;
                    found = true;
                }
                if (found || scope.empty()) break;
                size_t cut = scope.rfind('.', scope.size() - 2);
                scope = cut == std::string::npos ? std::string() : scope.substr(0, cut + 1);
            }
            // An own port, or an element of an own interface array port (`bus[1]`).
            const std::string ownName = text.substr(0, text.find('['));
            if (!found && interfaces)
                for (const ElabUnit::InterfacePort& own : *interfaces)
                    if (own.port == ownName) {
                        bound.unit = own.unit;
                        if (bound.modport.empty()) bound.modport = own.modport;
                        handedFrom = own.port;
                        found = true;
                    }
            const VeriIdDef* local =
                found || !unit.module->GetScope() ? nullptr : unit.module->GetScope()->findLocal(ownName);
            // An own interface port left open leaves this one open too.
            bool openPort = false;
            for (const InterfacePortDecl& p : InterfacePortsOf(unit.module).ports) openPort = openPort || p.id == local;
            if (openPort && port.type) continue;
            // An interface instance declared further down is made now; a module instance
            // and a net are no interface; a name not of the unit is left to others.
            if (!found && !openPort && local && local->GetClassId() == ID_VERIINSTID) {
                auto* inst = VeriAs<VeriModuleInstantiation>(local->declaration);
                VeriModule* of = inst ? VeriFindModule(inst->GetModuleName(), "", unit.module) : nullptr;
                found = !of || of->IsInterface();
                if (of && of->IsInterface()) bound.unit = InterfaceAhead(unit, inst, frame, ownName);
            } else if (!found && !openPort && !local) {
                found = true;
            }
        }
        if (!found) {
            Error();
            ColLineFile loc = id->Linefile();
            Message::Tell<veri_msg::ElabGenericInterface>(&loc, bound.port.c_str(), instName.c_str());
            return false;
        }
        out.push_back(std::move(bound));
        from.push_back(std::move(handedFrom));
    }
    return true;
}

ElabUnitId VeriElaborator::Impl::InterfaceAhead(const Unit& unit, const VeriModuleInstantiation* inst, VeriFrame* frame,
                                                const std::string& name) {
    if (!interfacesAhead.insert(inst).second) return 0;
    // Made in the unit's own frame, as the walk will make it: it finds the copy made then.
    VeriFrame* top = frame;
    while (top->upper) top = top->upper;
    Unit ahead{unit.module, {}, {}, unit.defparams, false, {}, {}};
    Instantiate(ahead, inst, top, "");
    interfacesAhead.erase(inst);
    auto made = ahead.interfaceInstances.find(name);
    return made == ahead.interfaceInstances.end() ? 0 : made->second;
}

std::string VeriElaborator::Impl::GenblkName(unsigned construct, VeriScope* scope) const {
    // genblk<n>, with leading zeros while the name is declared in the scope.
    std::string digits = std::to_string(construct);
    std::string name = "genblk" + digits;
    while (scope && scope->findLocal(name)) {
        digits = "0" + digits;
        name = "genblk" + digits;
    }
    return name;
}

void VeriElaborator::Impl::CollectDefparams(Unit& unit, const ArenaArray<VeriModuleItem*>& items, VeriFrame* frame,
                                            const std::string& prefix) {
    for (const VeriModuleItem* item : items) {
        auto* d = VeriAs<VeriDefParam>(item);
        if (!d) continue;
        for (const VeriDefParamAssign* a : d->assigns) {
            if (!a) continue;
            std::string path;
            if (!PathText(a->lval, eval, frame, path)) {
                Error();
                ColLineFile loc = a->Linefile();
                Message::Tell<veri_msg::ElabDefparamTarget>(&loc, "?");
                continue;
            }
            VeriValue v = eval.Evaluate(a->rval, frame);
            if (v.kind == VeriValue::None) continue;
            size_t dot = path.rfind('.');
            Defparam dp;
            dp.param = dot == std::string::npos ? path : path.substr(dot + 1);
            dp.path = dot == std::string::npos ? std::string() : path.substr(0, dot);
            if (!prefix.empty()) dp.path = prefix + (dp.path.empty() ? "" : "." + dp.path);
            dp.value = v;
            unit.defparams.push_back(std::move(dp));
        }
    }
}

ElabUnitId VeriElaborator::Impl::Elaborate(VeriModule* m, std::unordered_map<const VeriIdDef*, Override> overrides,
                                           std::vector<Defparam> defparams, const VeriTreeNode* where) {
    InterfacePorts ownInterfaces = std::move(pendingInterfaces);
    pendingInterfaces.clear();
    const VeriConfiguration* cellOf = std::exchange(designCellOf, nullptr);
    if (depth >= limits.instanceDepth) {
        Error();
        ColLineFile loc = where ? where->Linefile() : m->Linefile();
        std::string name(m->Name());
        Message::Tell<veri_msg::ElabInstanceDepth>(&loc, unsigned(limits.instanceDepth), name.c_str());
        return 0;
    }
    // An interface's frame outlives the walk: the ports it is connected to read it.
    auto ownedFrame = std::make_unique<VeriFrame>();
    VeriFrame& frame = *ownedFrame;
    for (const VeriTreeNode* p : m->parameters)
        if (IsParameterDecl(p))
            for (const VeriIdDef* id : static_cast<const VeriDataDecl*>(p)->ids)
                if (id) frame.pending[id].expr = id->GetInitialValue();
    DeclareParameters(m->items, frame);
    // Members read through the interface ports are read in the connected copies.
    std::vector<VeriInterfaceBinding> bindings;
    for (const InterfacePortDecl& port : InterfacePortsOf(m).ports) {
        auto connected = std::find_if(ownInterfaces.begin(), ownInterfaces.end(),
                                      [&](const ElabUnit::InterfacePort& p) { return p.port == port.id->Name(); });
        if (connected == ownInterfaces.end()) {
            bindings.push_back({port.id, nullptr, nullptr});
            continue;
        }
        auto copy = interfaceCopies.find(connected->unit);
        if (copy != interfaceCopies.end()) bindings.push_back({port.id, copy->second.module, copy->second.frame.get()});
    }
    if (!bindings.empty()) frame.interfaces = &bindings;
    std::vector<const VeriParamId*> params = OverridableParameters(m);
    // Defparams that reach this unit's own parameters replace the instance's values.
    for (const Defparam& dp : defparams) {
        if (!dp.path.empty()) continue;
        bool found = false;
        for (const VeriParamId* p : params) {
            if (p->Name() != dp.param) continue;
            overrides[p] = {nullptr, nullptr, true, dp.value};
            found = true;
        }
        if (!found) {
            Error();
            std::string name(m->Name());
            ColLineFile loc = m->Linefile();
            Message::Tell<veri_msg::ElabNoParameter>(&loc, name.c_str(), dp.param.c_str());
        }
    }
    for (auto& [id, o] : overrides) {
        VeriFrame::Pending& pend = frame.pending[id];
        pend.expr = o.expr;
        pend.frame = o.frame;
        pend.hasValue = o.hasValue;
        pend.value = o.value;
    }
    // The copy's name: each overridden parameter whose value differs from its default.
    std::vector<std::pair<std::string, std::string>> differing;
    if (!overrides.empty()) {
        VeriFrame defaults;
        defaults.pending = {};
        for (const VeriTreeNode* p : m->parameters)
            if (IsParameterDecl(p))
                for (const VeriIdDef* id : static_cast<const VeriDataDecl*>(p)->ids)
                    if (id) defaults.pending[id].expr = id->GetInitialValue();
        DeclareParameters(m->items, defaults);
        for (const VeriParamId* p : params) {
            if (!overrides.count(p)) continue;
            VeriValue v = eval.ParameterValue(p, &frame);
            if (v.kind == VeriValue::None) return 0;
            unsigned before = eval.ErrorCount();
            VeriValue d = p->initialValue ? eval.ParameterValue(p, &defaults) : VeriValue();
            // A default that cannot be evaluated alone (it needs the override) is no error.
            if (eval.ErrorCount() != before) d = VeriValue();
            if (!v.Same(d)) differing.push_back({std::string(p->Name()), v.Image()});
        }
    }
    std::string copyName = ElabCopyName(m->Name(), differing);
    std::string key = (m->GetLibrary() ? m->GetLibrary()->GetName() : std::string()) + "\n" + copyName;
    if (cellOf) key += "\ndesign cell";
    // A module with interface ports differs by the interface copies connected.
    for (const ElabUnit::InterfacePort& p : ownInterfaces)
        key += "\n" + p.port + "=" + std::to_string(p.unit) + "." + p.modport;
    // Under a configuration, what lies below depends on the libraries in force and on
    // instance rules for paths below this one.
    if (config.config) {
        key += "\nconfig " + std::string(config.config->Name());
        for (const std::string& l : config.liblist) key += " " + l;
        if (VeriConfigRulesBelow(config)) key += "\n@" + config.path;
    }
    std::vector<Defparam> below;
    for (Defparam& dp : defparams)
        if (!dp.path.empty()) below.push_back(std::move(dp));
    // Defparams from above make the unit differ from others of the same name: those get
    // a unit of their own, named after the values they set.
    if (!below.empty()) {
        for (const Defparam& dp : below) key += "\n" + dp.path + "." + dp.param + "=" + dp.value.Image();
    }
    // Binds into instances by their paths make the units on the way there differ.
    CollectBinds();
    if (bindsByPath && BindsAtOrBelow()) key += "\n@" + path;
    // A unit that instantiates itself with the same values would never end.
    if (inProgress.count(key)) {
        Error();
        ColLineFile loc = where ? where->Linefile() : m->Linefile();
        Message::Tell<veri_msg::ElabInstanceDepth>(&loc, unsigned(depth), copyName.c_str());
        return 0;
    }
    if (below.empty()) {
        auto known = units.find(key);
        if (known != units.end()) return known->second;
    }
    if (writersChecked.insert(m).second) errors += VeriCheckVariableWriters(m);
    auto selects = partSelects.find(m);
    if (selects == partSelects.end()) selects = partSelects.emplace(m, VeriIndexedPartSelects(m)).first;
    errors += VeriCheckPartSelectWidths(selects->second, eval, &frame, zeroWidthsTold);
    Unit unit{m, {}, {}, std::move(below), false, {}, {}};
    CollectDefparams(unit, m->items, &frame, "");
    ++depth;
    inProgress.insert(key);
    const InterfacePorts* interfacesAbove = interfaces;
    interfaces = &ownInterfaces;
    Walk(unit, m->items, &frame, "", m->GetScope());
    // bind directives add their instances to every instance of the target module, or
    // to those their list names, and to the instance a path names.
    auto bound = binds.find(std::string(m->Name()));
    if (bound != binds.end())
        for (const Bind& b : bound->second)
            if (b.paths.empty() || Names(b, path))
                Instantiate(unit, static_cast<const VeriModuleInstantiation*>(b.directive->instantiation), &frame, "",
                            true);
    for (const Bind& b : pathBinds)
        if (Names(b, path))
            Instantiate(unit, static_cast<const VeriModuleInstantiation*>(b.directive->instantiation), &frame, "",
                        true);
    interfaces = interfacesAbove;
    inProgress.erase(key);
    --depth;
    // A body that depends on a connected interface is named after it too (see docs/elab.md).
    std::vector<std::string> dependsOn = DependentPorts(m, unit, ownInterfaces);
    if (!dependsOn.empty()) {
        for (const InterfacePortDecl& port : InterfacePortsOf(m).ports) {
            auto connected = std::find_if(ownInterfaces.begin(), ownInterfaces.end(),
                                          [&](const ElabUnit::InterfacePort& p) { return p.port == port.id->Name(); });
            if (connected == ownInterfaces.end() || !std::count(dependsOn.begin(), dependsOn.end(), connected->port))
                continue;
            const ElabUnit& intf = design.Unit(connected->unit);
            // The interface a typed port declares, with its defaults, goes without saying.
            if (port.type && intf.copyName == port.type->Name() && intf.module == port.type->Name()) continue;
            differing.push_back({connected->port, intf.copyName});
        }
        copyName = ElabCopyName(m->Name(), differing);
    }
    // A configuration's design cell is named after both, as VHDL names an entity
    // elaborated under a configuration declaration; so is a unit below it that binds
    // otherwise than the plain search, so that it is not taken for the plain one.
    const VeriConfiguration* namedAfter = cellOf ? cellOf : unit.configured ? config.config : nullptr;
    if (namedAfter) copyName = ConfigCopyName(m, namedAfter, differing, unit.records);
    ElabUnit u;
    u.language = ElabLanguage::Verilog;
    u.library = m->GetLibrary() ? m->GetLibrary()->GetName() : std::string();
    u.module = std::string(m->Name());
    u.copyName = copyName;
    u.instances = std::move(unit.instances);
    u.interfacePorts = std::move(ownInterfaces);
    VeriModule* stored = Store(m, copyName, unit.records);
    u.source = stored;
    ElabUnitId id = design.Add(std::move(u));
    modules[id] = stored;
    units.emplace(key, id);
    if (namedAfter) configured.insert(id);
    if (!dependsOn.empty()) dependentPorts.emplace(id, std::move(dependsOn));
    if (m->IsInterface()) {
        frame.interfaces = nullptr;
        interfaceCopies.emplace(id, InterfaceCopy{m, std::move(ownedFrame)});
    }
    return id;
}

std::string VeriElaborator::Impl::ConfigCopyName(const VeriModule* m, const VeriConfiguration* c,
                                                 const std::vector<std::pair<std::string, std::string>>& differing,
                                                 const std::vector<InstanceRecord>& records) {
    Bindings bindings;
    bindings.reserve(records.size());
    for (const InstanceRecord& r : records) bindings.emplace_back(r.bound, r.bound ? 0 : r.used);
    VeriLibrary* library = m->GetLibrary();
    const std::string libraryName = library ? library->GetName() : std::string();
    for (unsigned n = 0;; ++n) {
        std::string base = std::string(m->Name()) + "_" + std::string(c->Name());
        if (n) base += "_" + std::to_string(n);
        std::string name = differing.empty() ? base + "_default" : ElabCopyName(base, differing);
        // A module of the source that happens to bear the name keeps it.
        VeriModule* held = library ? library->GetModule(name) : nullptr;
        if (held && held->GetOriginalModuleName() != m->Name()) continue;
        auto [known, fresh] = configNames.try_emplace(libraryName + "\n" + name, bindings);
        if (fresh || known->second == bindings) return name;
    }
}

void VeriElaborator::Impl::Walk(Unit& unit, const ArenaArray<VeriModuleItem*>& items, VeriFrame* frame,
                                const std::string& prefix, VeriScope* scope) {
    unsigned construct = 0;
    for (const VeriModuleItem* item : items) WalkItem(unit, item, frame, prefix, scope, construct);
}

void VeriElaborator::Impl::WalkItem(Unit& unit, const VeriModuleItem* item, VeriFrame* frame, const std::string& prefix,
                                    VeriScope* scope, unsigned& construct) {
    if (!item || eval.Exhausted() || statementsExhausted) return;
    switch (item->GetClassId()) {
    case ID_VERIMODULEINSTANTIATION:
        Instantiate(unit, static_cast<const VeriModuleInstantiation*>(item), frame, prefix);
        return;
    case ID_VERIGENERATECONSTRUCT:
        // A generate region opens no scope: its constructs count in the enclosing one.
        for (const VeriModuleItem* inner : static_cast<const VeriGenerateConstruct*>(item)->items)
            WalkItem(unit, inner, frame, prefix, scope, construct);
        return;
    case ID_VERIGENERATEFOR:
        ++construct;
        if (HoldsInstance(static_cast<const VeriGenerateFor*>(item)->item))
            GenerateFor(unit, static_cast<const VeriGenerateFor*>(item), frame, prefix, scope, construct);
        return;
    case ID_VERIGENERATECONDITIONAL:
    case ID_VERIGENERATECASE: {
        unsigned number = ++construct;
        // An else-if chain is one construct: conditionals nested directly in an else
        // (or a case item) open no block of their own.
        const VeriModuleItem* chosen = item;
        for (int guard = 0; chosen && guard < 100000; ++guard) {
            if (auto* c = VeriAs<VeriGenerateConditional>(chosen)) {
                VeriValue v = eval.Evaluate(c->cond, frame);
                if (v.kind == VeriValue::None) return;
                chosen = v.Truth() == 1 ? c->thenItem : c->elseItem;
                continue;
            }
            if (auto* gc = VeriAs<VeriGenerateCase>(chosen)) {
                VeriValue sel = eval.Evaluate(gc->cond, frame);
                if (sel.kind == VeriValue::None) return;
                const VeriModuleItem* pick = nullptr;
                const VeriModuleItem* fallback = nullptr;
                bool found = false;
                for (const VeriGenerateCaseItem* ci : gc->items) {
                    if (!ci) continue;
                    if (ci->conditions.Empty()) {
                        fallback = ci->item;
                        continue;
                    }
                    for (const VeriExpression* cond : ci->conditions) {
                        VeriValue v = eval.Evaluate(cond, frame);
                        if (v.kind == VeriValue::None) return;
                        uint32_t w = std::max(sel.width, v.width);
                        bool sg = sel.isSigned && v.isSigned;
                        if (veri_ops::CaseEqual(sel.Resized(w, sg), v.Resized(w, sg)).Truth() == 1) {
                            pick = ci->item;
                            found = true;
                            break;
                        }
                    }
                    if (found) break;
                }
                chosen = found ? pick : fallback;
                continue;
            }
            break;
        }
        if (!chosen || chosen->GetClassId() == ID_VERINULLSTATEMENT) return;
        auto* block = VeriAs<VeriGenerateBlock>(chosen);
        std::string name = block && block->blockId ? std::string(block->blockId->Name()) : GenblkName(number, scope);
        if (!CountStatement(chosen)) return;
        Block(unit, chosen, frame, prefix, scope, name);
        return;
    }
    case ID_VERIGENERATEBLOCK: {
        auto* block = static_cast<const VeriGenerateBlock*>(item);
        if (block->blockId) {
            Block(unit, item, frame, prefix, scope, std::string(block->blockId->Name()));
        } else {
            // A bare begin-end in a generate region adds no level to the names.
            VeriFrame inner(frame);
            DeclareParameters(block->items, inner);
            for (const VeriModuleItem* x : block->items) WalkItem(unit, x, &inner, prefix, scope, construct);
        }
        return;
    }
    default: return;
    }
}

void VeriElaborator::Impl::Block(Unit& unit, const VeriModuleItem* item, VeriFrame* frame, const std::string& prefix,
                                 VeriScope* scope, const std::string& name) {
    std::string path = prefix + name + ".";
    VeriFrame inner(frame);
    if (auto* block = VeriAs<VeriGenerateBlock>(item)) {
        DeclareParameters(block->items, inner);
        CollectDefparams(unit, block->items, &inner, prefix + name);
        Walk(unit, block->items, &inner, path, block->scope ? block->scope : scope);
        return;
    }
    // A single item without begin-end is a block of its own.
    unsigned construct = 0;
    WalkItem(unit, item, &inner, path, scope, construct);
}

void VeriElaborator::Impl::GenerateFor(Unit& unit, const VeriGenerateFor* loop, VeriFrame* frame,
                                       const std::string& prefix, VeriScope* scope, unsigned construct) {
    // The genvar: declared in the loop header, or assigned by the initialisation.
    const VeriIdDef* genvar = nullptr;
    const VeriExpression* initValue = nullptr;
    if (auto* a = VeriAs<VeriBlockingAssign>(loop->init)) {
        genvar = a->lval ? a->lval->GetId() : nullptr;
        initValue = a->rval;
    }
    if (loop->genvarDecl && !loop->genvarDecl->ids.Empty()) {
        const VeriIdDef* id = loop->genvarDecl->ids[0];
        if (!genvar) genvar = id;
        if (!initValue && id) initValue = id->GetInitialValue();
    }
    if (!genvar || !initValue) {
        eval.Error();
        ColLineFile loc = loop->Linefile();
        Message::Tell<veri_msg::ElabNotConstant>(&loc, "the generate loop's genvar");
        return;
    }
    auto* block = VeriAs<VeriGenerateBlock>(loop->item);
    std::string name = block && block->blockId ? std::string(block->blockId->Name()) : GenblkName(construct, scope);
    VeriFrame loopFrame(frame);
    VeriValue v = eval.Evaluate(initValue, frame);
    if (v.kind == VeriValue::None) return;
    loopFrame.values[genvar] = VeriEvaluator::Convert(v, {32, true});
    std::unordered_set<int64_t> seen;
    for (uint64_t n = 0;; ++n) {
        VeriValue c = eval.Evaluate(loop->cond, &loopFrame);
        if (c.kind == VeriValue::None || c.Truth() != 1) return;
        if (n >= limits.loopIterations) {
            eval.Error();
            ColLineFile loc = loop->Linefile();
            Message::Tell<veri_msg::ElabLoopBound>(&loc, unsigned(std::min<uint64_t>(limits.loopIterations, ~0u)));
            return;
        }
        int64_t i = 0;
        if (!VeriToInt(eval, loopFrame.values[genvar], loop, i)) return;
        // A genvar value met twice would name two blocks alike: the loop does not end.
        if (!seen.insert(i).second) {
            eval.Error();
            ColLineFile loc = loop->Linefile();
            Message::Tell<veri_msg::ElabLoopBound>(&loc, unsigned(n));
            return;
        }
        if (!CountStatement(loop)) return;
        // The iteration's block sees the genvar as a localparam of that value.
        std::string iteration = name + "[" + std::to_string(i) + "]";
        Block(unit, loop->item, &loopFrame, prefix, block && block->scope ? block->scope : scope, iteration);
        if (eval.Exhausted() || statementsExhausted) return;
        // The step: genvar = expr, genvar op= expr, genvar++.
        auto* step = VeriAs<VeriBlockingAssign>(loop->rep);
        if (!step) {
            eval.Error();
            ColLineFile loc = loop->Linefile();
            Message::Tell<veri_msg::ElabNotConstant>(&loc, "the generate loop's step");
            return;
        }
        VeriValue cur = loopFrame.values[genvar];
        VeriValue next;
        unsigned oper = step->oper ? step->oper : unsigned(VT_EQ);
        if (oper == VT_EQ) {
            next = eval.Evaluate(step->rval, &loopFrame);
        } else {
            VeriValue r = oper == VT_INC || oper == VT_DEC
                              ? VeriValue::Int(1, 32, true)
                              : VeriEvaluator::Convert(eval.Evaluate(step->rval, &loopFrame), {32, true});
            if (r.kind == VeriValue::None) return;
            bool byZero = false;
            switch (oper) {
            case VT_INC:
            case VT_PLUS_EQ: next = veri_ops::Add(cur, r); break;
            case VT_DEC:
            case VT_MINUS_EQ: next = veri_ops::Sub(cur, r); break;
            case VT_STAR_EQ: next = veri_ops::Mul(cur, r); break;
            case VT_SLASH_EQ: next = veri_ops::Div(cur, r, true, byZero); break;
            case VT_SHL_EQ:
            case VT_ASHL_EQ: next = veri_ops::ShiftLeft(cur, r); break;
            case VT_SHR_EQ: next = veri_ops::ShiftRight(cur, r, false); break;
            case VT_ASHR_EQ: next = veri_ops::ShiftRight(cur, r, true); break;
            default: break;
            }
        }
        if (next.kind == VeriValue::None) return;
        loopFrame.values[genvar] = VeriEvaluator::Convert(next, {32, true});
    }
}

void VeriElaborator::Impl::Instantiate(Unit& unit, const VeriModuleInstantiation* inst, VeriFrame* frame,
                                       const std::string& prefix, bool made) {
    std::string library;
    std::string name(inst->GetModuleName());
    if (auto* sn = VeriAs<VeriScopeName>(inst->moduleName)) {
        library = std::string(sn->prefix ? sn->prefix->GetName() : std::string_view());
        name = std::string(sn->name);
    }
    // Under a configuration each instance is bound by its own path (below); a library
    // written in front of the module beats `uselib directives, which beat the search.
    // Under a configuration the plain choice tells whether the configuration changed
    // anything below the unit.
    std::string plainLibrary = library;
    VeriModule* plain = library.empty() && !inst->uselib.empty() ? VeriUselibFind(inst->uselib, name, plainLibrary)
                                                                 : VeriFindModule(name, library, unit.module);
    if (plain && plain->IsPrimitive()) plain = nullptr; // user primitives are leaves, not instances
    VeriModule* bound = config.config ? nullptr : plain;
    if (!config.config) library = plainLibrary;
    if (!bound && (inst->GetInstantiatedModule() && inst->GetInstantiatedModule()->IsPrimitive())) return;
    if (!bound && veri_file::GetModule(name.c_str()) && veri_file::GetModule(name.c_str())->IsPrimitive()) return;
    for (const VeriInstId* id : inst->instances) {
        if (!id || eval.Exhausted() || statementsExhausted) return;
        std::string base = prefix + std::string(id->Name());
        // Instance arrays: one instance per element, left bound first.
        std::vector<std::string> names;
        if (const VeriRange* r = id->dimensions) {
            int64_t left = 0, right = 0;
            if (!VeriToInt(eval, eval.Evaluate(r->left, frame), r, left)) continue;
            if (r->right) {
                if (!VeriToInt(eval, eval.Evaluate(r->right, frame), r, right)) continue;
            } else {
                right = left - 1;
                left = 0;
            }
            int64_t step = left <= right ? 1 : -1;
            if (uint64_t(std::llabs(left - right)) >= limits.loopIterations) {
                eval.Error();
                ColLineFile loc = id->Linefile();
                Message::Tell<veri_msg::ElabLoopBound>(&loc, unsigned(std::min<uint64_t>(limits.loopIterations, ~0u)));
                continue;
            }
            for (int64_t i = left;; i += step) {
                names.push_back(base + "[" + std::to_string(i) + "]");
                if (i == right) break;
            }
        } else {
            names.push_back(base);
        }
        for (const std::string& instName : names) {
            if (!CountStatement(id)) return;
            ElabUnitId target = 0;
            VeriModule* module = bound;
            std::string cellLibrary = library, cell = name;
            VeriConfigChoice choice;
            if (config.config) {
                choice = VeriConfigBind(config, instName, library, name, unit.module);
                module = choice.module && !choice.module->IsPrimitive() ? choice.module : nullptr;
                cellLibrary = choice.library;
                cell = choice.name;
                const VeriUseClause* use = choice.rule ? choice.rule->use : nullptr;
                const std::string own = unit.module->GetLibrary() ? unit.module->GetLibrary()->GetName() : "";
                if (module != plain || cell != name || (use && (use->isConfig || !use->paramValues.Empty())) ||
                    (!module &&
                     (cellLibrary.empty() ? own : cellLibrary) != (plainLibrary.empty() ? own : plainLibrary)))
                    unit.configured = true;
            }
            if (module) {
                // Parameter values: ordered, or named (.P(v)); an empty .P() keeps the default.
                std::vector<const VeriParamId*> params = OverridableParameters(module);
                std::unordered_map<const VeriIdDef*, Override> overrides;
                size_t position = 0;
                bool bad = false;
                // The parameter a named value sets; a localparam of that name cannot be overridden either.
                auto namedParameter = [&](const VeriPortConnect* named) -> const VeriParamId* {
                    for (const VeriParamId* c : params)
                        if (c->Name() == named->portName) return c;
                    Error();
                    ColLineFile loc = named->Linefile();
                    std::string mod(module->Name()), pn(named->portName);
                    Message::Tell<veri_msg::ElabNoParameter>(&loc, mod.c_str(), pn.c_str());
                    bad = true;
                    return nullptr;
                };
                for (const VeriExpression* pv : inst->paramValues) {
                    if (auto* named = VeriAs<VeriPortConnect>(pv)) {
                        const VeriParamId* p = namedParameter(named);
                        if (!p) continue;
                        if (named->connection) overrides[p] = {named->connection, frame, false, VeriValue()};
                        continue;
                    }
                    if (position >= params.size()) {
                        Error();
                        // Broken code may leave a value out of the list.
                        ColLineFile loc = pv ? pv->Linefile() : id->Linefile();
                        std::string mod(module->Name());
                        Message::Tell<veri_msg::ElabTooManyParameters>(
                            &loc, mod.c_str(), unsigned(inst->paramValues.Size()), unsigned(params.size()));
                        bad = true;
                        break;
                    }
                    if (pv && !VeriAs<VeriPortOpen>(pv)) overrides[params[position]] = {pv, frame, false, VeriValue()};
                    ++position;
                }
                // A configuration's `use ... #(.P(v))` beats the instance's own values.
                if (choice.rule && choice.rule->use) {
                    for (const VeriExpression* pv : choice.rule->use->paramValues) {
                        auto* named = static_cast<const VeriPortConnect*>(pv);
                        const VeriParamId* p = namedParameter(named);
                        if (!p) continue;
                        if (!named->connection) {
                            overrides.erase(p);
                            continue;
                        }
                        VeriFrame constants;
                        overrides[p] = {nullptr, nullptr, true,
                                        p->IsType() ? eval.TypeValue(named->connection, &constants)
                                                    : eval.Evaluate(named->connection, &constants)};
                    }
                }
                // Defparams of this unit that lead into the instance.
                std::vector<Defparam> down;
                std::string relative = instName;
                for (const Defparam& dp : unit.defparams) {
                    if (dp.path == relative) {
                        down.push_back({"", dp.param, dp.value});
                    } else if (dp.path.size() > relative.size() && dp.path.compare(0, relative.size(), relative) == 0 &&
                               dp.path[relative.size()] == '.') {
                        down.push_back({dp.path.substr(relative.size() + 1), dp.param, dp.value});
                    }
                }
                // Overrides are evaluated in the instantiating frame, which lives only
                // during this call: work their values out now.
                for (auto& [pid, o] : overrides) {
                    if (o.hasValue) {
                        if (o.value.kind == VeriValue::None) bad = true;
                        continue;
                    }
                    auto* param = static_cast<const VeriParamId*>(pid);
                    if (param->IsType()) {
                        o.value = eval.TypeValue(o.expr, frame);
                    } else {
                        VeriShape ctx = {};
                        o.value = eval.Evaluate(o.expr, frame);
                        (void)ctx;
                    }
                    o.hasValue = true;
                    o.expr = nullptr;
                    o.frame = nullptr;
                    if (o.value.kind == VeriValue::None) bad = true;
                }
                if (bad) continue; // the instance is left out; the rest goes on
                InterfacePorts connected;
                std::vector<std::string> handedFrom;
                if (!InterfacePortsOf(module).ports.empty() &&
                    !ConnectInterfaces(unit, module, id, frame, prefix, instName, connected, handedFrom))
                    continue;
                const InterfacePorts connectedPorts = connected;
                std::string pathAbove = path;
                path += "." + instName;
                pendingInterfaces = std::move(connected);
                if (config.config) {
                    VeriConfigState above = std::move(config);
                    config = std::move(choice.below);
                    target = Elaborate(module, std::move(overrides), std::move(down), id);
                    config = std::move(above);
                } else {
                    target = Elaborate(module, std::move(overrides), std::move(down), id);
                }
                path = std::move(pathAbove);
                if (!target) continue;
                // A port handed on to one the instance's unit depends on: this unit depends on it too.
                auto dependent = dependentPorts.find(target);
                if (dependent != dependentPorts.end())
                    for (size_t i = 0; i < connectedPorts.size(); ++i)
                        if (!handedFrom[i].empty() &&
                            std::count(dependent->second.begin(), dependent->second.end(), connectedPorts[i].port))
                            unit.handedToDependent.insert(handedFrom[i]);
            } else {
                ElabUnitRequest request;
                request.library = cellLibrary;
                request.name = cell;
                request.location = id->Linefile();
                for (const VeriExpression* pv : inst->paramValues) {
                    ElabParam p;
                    const VeriExpression* e = pv;
                    if (auto* named = VeriAs<VeriPortConnect>(pv)) {
                        p.name = std::string(named->portName);
                        e = named->connection;
                    }
                    if (!e) continue;
                    VeriValue v = eval.Evaluate(e, frame);
                    if (v.kind == VeriValue::None) continue;
                    p.value = ToParam(v);
                    p.value.timeUnitFs = VeriModuleTimeUnitFs(*unit.module);
                    request.params.push_back(std::move(p));
                }
                for (const VeriExpression* pc : id->portConnects) {
                    ElabPortActual port;
                    const VeriExpression* actual = pc;
                    if (auto* named = VeriAs<VeriPortConnect>(pc)) {
                        port.name = std::string(named->portName);
                        actual = named->connection;
                    }
                    port.width = VeriActualWidth(eval, actual, frame);
                    request.ports.push_back(std::move(port));
                }
                if (foreign) target = foreign(design, request);
                if (!target || target == kElabUnitFailed) {
                    ColLineFile loc = id->Linefile();
                    if (target) Message::Tell<veri_msg::ElabForeignFailed>(&loc, cell.c_str(), instName.c_str());
                    else Message::Tell<veri_msg::ElabUnboundModule>(&loc, cell.c_str(), instName.c_str());
                    std::string lib = cellLibrary.empty() && unit.module->GetLibrary()
                                          ? unit.module->GetLibrary()->GetName()
                                          : cellLibrary;
                    target = design.Unbound(lib, cell);
                }
            }
            unit.instances.push_back({instName, target});
            if (configured.count(target)) unit.configured = true;
            auto m = modules.find(target);
            if (m != modules.end() && m->second->IsInterface()) {
                unit.interfaceInstances.emplace(instName, target);
                if (id->dimensions) unit.interfaceInstances.emplace(base, target);
            }
            unit.records.push_back(
                {inst, id, instName, made || instName != id->Name(), m == modules.end() ? nullptr : m->second, target});
        }
    }
}

void VeriElaborator::Impl::CheckPortWidths(VeriModule* m,
                                           const std::unordered_map<const VeriIdDef*, Override>& overrides,
                                           const ElabUnitRequest& request) {
    if (request.ports.empty()) return;
    // The module's frame with the values the instance gave, as its copy was elaborated.
    VeriFrame frame;
    for (const VeriTreeNode* p : m->parameters)
        if (IsParameterDecl(p))
            for (const VeriIdDef* id : static_cast<const VeriDataDecl*>(p)->ids)
                if (id) frame.pending[id].expr = id->GetInitialValue();
    DeclareParameters(m->items, frame);
    for (const auto& [id, o] : overrides) {
        VeriFrame::Pending& pend = frame.pending[id];
        pend.expr = o.expr;
        pend.frame = o.frame;
        pend.hasValue = o.hasValue;
        pend.value = o.value;
    }
    const std::vector<const VeriIdDef*> ports = VeriModulePorts(*m);
    size_t position = 0;
    for (const ElabPortActual& actual : request.ports) {
        const VeriIdDef* formal = nullptr;
        if (actual.name.empty()) {
            formal = position < ports.size() ? ports[position++] : nullptr;
        } else {
            for (const VeriIdDef* p : ports)
                if (p && SameName(p->Name(), actual.name)) formal = p;
        }
        if (!formal || actual.width < 0) continue;
        const int64_t width = VeriPortWidth(eval, formal, &frame);
        if (width < 0 || width == actual.width) continue;
        std::string port(formal->Name()), module(m->Name());
        Message::Tell<veri_msg::ElabPortWidth>(&request.location, port.c_str(), module.c_str(),
                                               std::to_string(width).c_str(), std::to_string(actual.width).c_str());
    }
}

ForeignUnitRef VeriElaborator::Impl::ForeignUnitOf(ElabUnitId unit) const {
    const ElabUnit& u = design.Unit(unit);
    if (u.language == ElabLanguage::Unbound)
        return {Symbol::Intern(u.library), Symbol::Intern(u.module), Symbol(), true};
    if (u.language != ElabLanguage::Vhdl) return {};
    return {Symbol::Intern(u.library), Symbol::Intern(u.copyName), Symbol::Intern(u.architecture)};
}

VeriModule* VeriElaborator::Impl::Store(VeriModule* m, const std::string& copyName,
                                        const std::vector<InstanceRecord>& records) {
    VeriLibrary* library = m->GetLibrary();
    if (!library) return m;
    VeriModule* target = m;
    std::function<VeriModuleInstantiation*(const VeriModuleInstantiation*)> mapped =
        [](const VeriModuleInstantiation* n) { return const_cast<VeriModuleInstantiation*>(n); };
    if (copyName != m->Name()) {
        if (VeriModule* existing = library->GetModule(copyName)) return existing;
        target = CopyModule(m, library->arena(), mapped);
        Symbol copySymbol = Symbol::Intern(copyName);
        if (target->id) target->id->name = copySymbol;
        target->originalName = Symbol::Intern(m->Name()).Text();
        library->AddModule(target);
    } else if (m->elaborated) {
        return m; // stored by an earlier elaboration
    } else {
        stamping.erase(m); // the original changes below: a stamp of it would be stale
    }
    target->elaborated = true;
    for (const InstanceRecord& r : records) {
        if (!r.generated) {
            VeriModuleInstantiation* node = mapped(r.instantiation);
            if (r.bound) node->module = r.bound;
            node->foreignUnit = ForeignUnitOf(r.used);
            continue;
        }
        // An identifier elaboration made: its own copy of the instantiation, named by
        // its path in the unit, declared in the unit's scope. In a copy of the module it
        // is made from the copy's instantiation, so that its actuals name the copy's nets.
        const VeriModuleInstantiation* from = mapped(r.instantiation);
        auto* copy = static_cast<VeriModuleInstantiation*>(from->Copy(Fresh(instantiationCopier, library->arena())));
        VeriInstId* id = nullptr;
        for (size_t i = 0; i < r.instantiation->instances.Size(); ++i)
            if (r.instantiation->instances[i] == r.id) id = copy->instances[i];
        if (!id) continue;
        id->name = Symbol::Intern(r.name);
        id->generateElabCreated = true;
        id->dimensions = nullptr;
        copy->module = r.bound;
        copy->foreignUnit = ForeignUnitOf(r.used);
        if (target->scope) target->scope->declare(library->arena(), id);
    }
    return target;
}

VeriModule* VeriElaborator::Impl::CopyModule(
    const VeriModule* m, Arena& arena,
    std::function<VeriModuleInstantiation*(const VeriModuleInstantiation*)>& mapped) {
    Stamping& s = stamping[m];
    // The third copy of a module makes its stamp: one or two copies do not repay it.
    if (!s.stamp && !s.tried && s.copies >= 2) {
        s.tried = true;
        s.stamp = VeriCopyStamp::Make(*m, Fresh(moduleCopier, arena), s.bytes);
    }
    ++s.copies;
    if (s.stamp) {
        VeriModule* copy = s.stamp->Stamp(arena);
        const VeriCopyStamp* stamp = s.stamp.get();
        mapped = [stamp, copy](const VeriModuleInstantiation* n) {
            return stamp->Mapped(const_cast<VeriModuleInstantiation*>(n), copy);
        };
        return copy;
    }
    const size_t before = arena.bytesAllocated();
    TreeCopier& copier = Fresh(moduleCopier, arena);
    auto* copy = static_cast<VeriModule*>(m->Copy(copier));
    s.bytes = arena.bytesAllocated() - before;
    mapped = [&copier](const VeriModuleInstantiation* n) {
        return copier.Mapped(const_cast<VeriModuleInstantiation*>(n));
    };
    return copy;
}

VeriElaborator::VeriElaborator(ElabDesign& design, const ElabLimits& limits)
    : impl_(std::make_unique<Impl>(design, limits)) {}

VeriElaborator::~VeriElaborator() = default;

void VeriElaborator::SetForeignLookup(ElabUnitLookup lookup) { impl_->foreign = std::move(lookup); }

unsigned VeriElaborator::ErrorCount() const { return impl_->errors + impl_->eval.ErrorCount(); }

VeriEvaluator& VeriElaborator::Evaluator() { return impl_->eval; }

bool VeriElaborator::HasParameter(const VeriModule* module, const std::string& name) {
    for (const VeriParamId* p : OverridableParameters(module))
        if (SameName(p->Name(), name)) return true;
    return false;
}

ElabUnitId VeriElaborator::ElaborateTop(VeriModule* module, const ElabGenericMap& parameters,
                                        VeriConfiguration* config) {
    std::unordered_map<const VeriIdDef*, Override> overrides;
    std::vector<const VeriParamId*> params = OverridableParameters(module);
    for (const ElabGenericValue& g : parameters) {
        for (const VeriParamId* p : params) {
            if (!SameName(p->Name(), g.name)) continue;
            Override o;
            o.hasValue = true;
            o.value = p->IsType() ? VeriValue::MakeType(g.value, 0, false) : ParseUserValue(g.value);
            overrides[p] = o;
        }
    }
    impl_->config = config ? VeriConfigTopState(config, module->Name()) : VeriConfigState();
    impl_->path = std::string(module->Name());
    impl_->designCellOf = config;
    if (config) config->elaborated = true;
    ElabUnitId id = impl_->Elaborate(module, std::move(overrides), {}, module);
    impl_->config = VeriConfigState();
    if (id) impl_->design.tops.push_back({std::string(module->Name()), id});
    return id;
}

ElabUnitId VeriElaborator::ElaborateForeign(const ElabUnitRequest& request) {
    VeriModule* module = VeriFindModule(request.name, request.library, nullptr);
    if (!module && !request.library.empty()) module = VeriFindModule(request.name, "", nullptr);
    // VHDL names its units without regard to case: `VLEAF` finds module `vleaf`.
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            if (module) break;
            if (SameName(m->Name(), request.name)) module = VeriFindModule(m->Name(), lib->GetName(), nullptr);
        }
    }
    if (!module) return 0;
    std::unordered_map<const VeriIdDef*, Override> overrides;
    std::vector<const VeriParamId*> params = OverridableParameters(module);
    size_t position = 0;
    for (const ElabParam& p : request.params) {
        const VeriParamId* target = nullptr;
        if (p.name.empty()) {
            if (position < params.size()) target = params[position++];
        } else {
            for (const VeriParamId* c : params)
                if (SameName(c->Name(), p.name)) target = c;
        }
        if (!target) {
            impl_->Error();
            std::string mod(module->Name());
            Message::Tell<veri_msg::ElabNoParameter>(&request.location, mod.c_str(), p.name.c_str());
            continue;
        }
        overrides[target] = {nullptr, nullptr, true, FromParam(p.value, VeriModuleTimeUnitFs(*module))};
    }
    impl_->path = std::string(module->Name());
    const std::unordered_map<const VeriIdDef*, Override> values = overrides;
    ElabUnitId id = impl_->Elaborate(module, std::move(overrides), {}, module);
    if (!id) return kElabUnitFailed;
    impl_->CheckPortWidths(module, values, request);
    return id;
}

std::vector<VeriTopCell> VeriResolveTop(const ElabTopRequest& top, unsigned& errors) {
    if (VeriModule* m = VeriFindModule(top.name, top.library, nullptr)) return {{m, nullptr}};
    // A configuration stands for the top cells its design statement names.
    VeriConfiguration* config = nullptr;
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        if (!top.library.empty() && lib->GetName() != top.library) continue;
        VeriModule* c = lib->GetModule(top.name);
        if (c && c->IsConfiguration() && !config) config = static_cast<VeriConfiguration*>(c);
    }
    if (!config) {
        ++errors;
        Message::Tell<veri_msg::ElabNoTop>(nullptr, top.name.c_str());
        return {};
    }
    std::vector<VeriTopCell> cells;
    for (const VeriExpression* cell : config->GetTopModuleNames()) {
        if (!cell) continue;
        std::string library;
        if (auto* sn = VeriAs<VeriScopeName>(cell))
            library = std::string(sn->prefix ? sn->prefix->GetName() : std::string_view());
        // A cell without a library comes from the configuration's library first.
        if (VeriModule* m = VeriFindModule(cell->GetName(), library, config)) {
            cells.push_back({m, config});
            continue;
        }
        ++errors;
        std::string name(cell->GetName());
        ColLineFile loc = cell->Linefile();
        Message::Tell<veri_msg::ElabNoTop>(&loc, name.c_str());
    }
    return cells;
}

bool VeriElaborate(ElabDesign& design, const std::vector<ElabTopRequest>& tops, const ElabGenericMap& parameters,
                   const ElabLimits& limits, ElabUnitLookup foreign) {
    VeriElaborator elab(design, limits);
    elab.SetForeignLookup(std::move(foreign));
    unsigned errors = 0;
    std::vector<VeriTopCell> cells;
    for (const ElabTopRequest& t : tops)
        for (const VeriTopCell& c : VeriResolveTop(t, errors)) cells.push_back(c);
    for (const ElabGenericValue& g : parameters) {
        bool used = false;
        for (const VeriTopCell& c : cells) used = used || VeriElaborator::HasParameter(c.module, g.name);
        if (!used) Message::Tell<veri_msg::ElabTopParameter>(nullptr, g.name.c_str());
    }
    for (const VeriTopCell& c : cells) elab.ElaborateTop(c.module, parameters, c.config);
    return errors + elab.ErrorCount() == 0;
}

std::vector<ElabTopRequest> VeriFindTops() {
    InstantiatedNames visitor;
    for (VeriLibrary* lib : veri_file::AllLibraries())
        for (VeriModule* m : lib->AllModules())
            if (!m->GetOriginalModuleName().size()) visitor.TraverseNode(m);
    std::vector<ElabTopRequest> tops;
    for (VeriLibrary* lib : veri_file::AllLibraries()) {
        for (VeriModule* m : lib->AllModules()) {
            if (m->IsInterface() || m->IsPackage() || m->IsPrimitive() || m->IsConfiguration() || m->IsChecker() ||
                m->IsRootModule() || !m->GetOriginalModuleName().empty() || m->Name().empty())
                continue;
            std::string name(m->Name());
            if (visitor.names.count(name)) continue;
            tops.push_back({name, lib->GetName(), ""});
        }
    }
    return tops;
}

} // namespace hdl
