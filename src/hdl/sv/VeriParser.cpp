// Token handling, error recovery, scopes and name resolution of the Verilog parser.
#include <string>

#include "hdl/sv/VeriParserImpl.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {

namespace {
// Deep enough for real code, shallow enough for the default thread stack.
constexpr unsigned kMaxDepth = 400;
} // namespace

VeriParser::Impl::Impl(VeriPreprocessor& p, Arena& a, VeriParserHooks h)
    : pp(p), arena(a), hooks(std::move(h)), ring(64) {
    unitScopeOwner = make<VeriPackage>();
    auto* id = make<VeriModuleId>();
    id->name = Symbol::Intern("$unit");
    id->declaration = unitScopeOwner;
    unitScopeOwner->id = id;
    unitScopeOwner->scope = arena.make<VeriScope>(nullptr, unitScopeOwner);
    id->scope = unitScopeOwner->scope;
    scope = unitScopeOwner->scope;
}

VeriParser::NodeCounts& VeriParser::Impl::nodesMade() {
    static NodeCounts counts{};
    return counts;
}

void VeriParser::Impl::dropped(VeriTreeNode* subtree) {
    // Attribute values are children that the default walk leaves out.
    struct Uncount : VeriVisitor {
        void PreVisit(VeriTreeNode& node) override {
            --nodesMade()[node.GetClassId() + kVeriClassIdOffset];
            for (const VeriAttribute& a : node.GetAttributes()) TraverseNode(a.value);
        }
    } uncount;
    uncount.TraverseNode(subtree);
}

void VeriParser::Impl::attach(VeriTreeNode* node, std::vector<VeriAttribute>& attrs) {
    if (attrs.empty()) return;
    if (node) {
        // Attributes written further out come first.
        ArenaArray<VeriAttribute> own = node->GetAttributes();
        attrs.insert(attrs.end(), own.begin(), own.end());
        node->SetAttributes(ArenaArray<VeriAttribute>(arena, attrs));
    } else {
        for (const VeriAttribute& a : attrs) dropped(a.value);
    }
    attrs.clear();
}

VeriParser::Impl::DepthGuard::DepthGuard(Impl& parser) : p(parser) {
    ok = ++p.depth < kMaxDepth && !p.bailing;
    if (!ok && !p.bailing) {
        p.bailing = true;
        const VeriToken& t = p.peek();
        ColLineFile loc(t.fileId, t.line, t.col);
        ++p.errors;
        Message::Tell<veri_msg::ConstructsNestTooDeep>(&loc, kMaxDepth);
    }
}

void VeriParser::Impl::grow() {
    std::vector<VeriToken> bigger(ring.size() * 2);
    for (size_t i = 0; i < buffered; ++i) bigger[i] = ring[(head + i) & (ring.size() - 1)];
    ring.swap(bigger);
    head = 0;
}

void VeriParser::Impl::fill(size_t k) {
    while (buffered <= k) {
        if (buffered == ring.size()) grow();
        VeriToken t = pp.next();
        // Lexer errors were reported already; the parser just doesn't see them.
        if (t.kind == VT_ERROR) continue;
        ring[(head + buffered) & (ring.size() - 1)] = t;
        ++buffered;
    }
}

void VeriParser::Impl::unread(const VeriToken& t) {
    if (buffered == ring.size()) grow();
    head = (head - 1) & (ring.size() - 1);
    ring[head] = t;
    ++buffered;
}

VeriToken VeriParser::Impl::take() {
    prev = peek();
    if (prev.kind != VT_EOF) {
        head = (head + 1) & (ring.size() - 1);
        --buffered;
        ++taken;
    }
    return prev;
}

bool VeriParser::Impl::accept(unsigned k) {
    if (kind() != k) return false;
    take();
    return true;
}

bool VeriParser::Impl::expect(unsigned k) {
    if (accept(k)) return true;
    syntaxError(peek(), tokenText(k));
    return false;
}

Symbol VeriParser::Impl::name(const VeriToken& t) {
    // `\a+b ` names a+b; a plain-looking escaped name is the same as the plain one.
    return Symbol::Intern(t.kind == VT_ESCAPED_IDENTIFIER ? t.text.substr(1) : t.text);
}

Symbol VeriParser::Impl::takeName() {
    if (!isIdent()) {
        syntaxError(peek(), "an identifier");
        return {};
    }
    return name(take());
}

void VeriParser::Impl::syntaxError(const VeriToken& t, const char* expected) {
    if (bailing) return;
    ++errors;
    const ErrorRecovery::Verdict verdict = recovery.OnError(t.fileId, taken - skipped);
    if (verdict == ErrorRecovery::Quiet) return;
    ColLineFile loc(t.fileId, t.line, t.col);
    if (t.kind == VT_EOF) {
        if (expected) Message::Tell<veri_msg::UnexpectedEndExpecting>(&loc, expected);
        else Message::Tell<veri_msg::UnexpectedEndOfText>(&loc);
    } else {
        std::string text(t.text.substr(0, 64));
        if (expected) Message::Tell<veri_msg::SyntaxErrorExpecting>(&loc, text.c_str(), expected);
        else Message::Tell<veri_msg::SyntaxErrorNear>(&loc, text.c_str());
    }
    if (verdict == ErrorRecovery::TellLast) Message::Tell<veri_msg::TooManySyntaxErrors>(&loc);
}

void VeriParser::Impl::finish(VeriTreeNode* node) {
    if (!node) return;
    node->loc.SetEnd(prev.line & 0x7fffffffu, (prev.col + uint32_t(prev.text.size())) & 0x7fffffffu);
}

namespace {
bool opens(unsigned k) { return k == VT_LPAREN || k == VT_LBRACKET || k == VT_LBRACE || k == VT_APOSTROPHE_LBRACE; }
bool closes(unsigned k) { return k == VT_RPAREN || k == VT_RBRACKET || k == VT_RBRACE; }
} // namespace

void VeriParser::Impl::skipBalanced() {
    const size_t from = taken;
    int level = 0;
    do {
        unsigned k = kind();
        if (k == VT_EOF) break;
        if (opens(k)) ++level;
        else if (closes(k)) --level;
        take();
    } while (level > 0);
    skipped += taken - from;
}

void VeriParser::Impl::skipToSemi() {
    // Only braces nest here: a ';' inside parentheses is rare, and counting parentheses
    // would let one unbalanced '(' swallow the rest of the file.
    const size_t from = taken;
    int level = 0;
    while (!atEof()) {
        unsigned k = kind();
        if (k == VT_LBRACE || k == VT_APOSTROPHE_LBRACE) ++level;
        else if (k == VT_RBRACE && level > 0) --level;
        take();
        if (k == VT_SEMI && level == 0) break;
    }
    skipped += taken - from;
}

void VeriParser::Impl::skipUntilEnd(unsigned open, unsigned endKind) {
    const size_t from = taken;
    int level = 0;
    bool found = false;
    while (!atEof() && !found) {
        unsigned k = take().kind;
        if (k == open) ++level;
        else if (k == endKind) {
            found = level == 0;
            --level;
        }
    }
    skipped += taken - from;
    if (!found) syntaxError(peek(), tokenText(endKind));
}

void VeriParser::Impl::skipEndLabel() {
    if (at(VT_COLON) && (isIdent(1) || kind(1) == VT_NEW)) {
        take();
        take();
    }
}

namespace {
// Words that begin a module item or end a region: recovery stops in front of them.
bool isItemBoundary(unsigned k) {
    switch (k) {
    case VT_ENDMODULE:
    case VT_ENDINTERFACE:
    case VT_ENDPROGRAM:
    case VT_ENDPACKAGE:
    case VT_ENDPRIMITIVE:
    case VT_ENDGENERATE:
    case VT_ENDFUNCTION:
    case VT_ENDTASK:
    case VT_ENDCLASS:
    case VT_ENDCHECKER:
    case VT_ENDCONFIG:
    case VT_END:
    case VT_MODULE:
    case VT_MACROMODULE:
    case VT_INTERFACE:
    case VT_PROGRAM:
    case VT_PACKAGE:
    case VT_ALWAYS:
    case VT_ALWAYS_FF:
    case VT_ALWAYS_COMB:
    case VT_ALWAYS_LATCH:
    case VT_INITIAL:
    case VT_FINAL:
    case VT_ASSIGN:
    case VT_FUNCTION:
    case VT_TASK:
    case VT_GENERATE:
    case VT_ENDCASE: return true;
    default: return false;
    }
}
} // namespace

void VeriParser::Impl::recoverItem() {
    const size_t from = taken;
    int level = 0;
    while (!atEof()) {
        unsigned k = kind();
        if (level == 0 && isItemBoundary(k) && taken > from) break;
        if (opens(k)) ++level;
        else if (closes(k) && level > 0) --level;
        take();
        if (k == VT_SEMI && level == 0) break;
    }
    skipped += taken - from;
}

void VeriParser::Impl::recoverStatement() { recoverItem(); }

bool VeriParser::Impl::atUnitEnd() {
    switch (kind()) {
    case VT_ENDMODULE:
    case VT_ENDINTERFACE:
    case VT_ENDPROGRAM:
    case VT_ENDPACKAGE:
    case VT_ENDCLASS:
    case VT_ENDCHECKER:
    case VT_ENDPRIMITIVE:
    case VT_MODULE:
    case VT_MACROMODULE:
    case VT_EOF: return true;
    default: return false;
    }
}

VeriParser::Impl::ScopeMark VeriParser::Impl::pushScope(VeriTreeNode* owner) {
    ScopeMark mark{scope, unscopedBlock};
    scope = arena.make<VeriScope>(scope, owner);
    unscopedBlock = nullptr;
    return mark;
}

VeriParser::Impl::ScopeMark VeriParser::Impl::enterBlock(VeriSeqBlock* block) {
    ScopeMark mark{scope, unscopedBlock};
    unscopedBlock = block;
    return mark;
}

VeriScope* VeriParser::Impl::declarationScope() {
    if (unscopedBlock) {
        scope = arena.make<VeriScope>(scope, unscopedBlock);
        unscopedBlock->scope = scope;
        unscopedBlock = nullptr;
    }
    return scope;
}

void VeriParser::Impl::declare(VeriIdDef* id) {
    if (!id || id->name.empty()) return;
    VeriScope* target = declarationScope();
    VeriIdDef* old = target->findLocal(id->name);
    // A non-ANSI port declared again as net or variable completes the first declaration.
    if (auto* port = dynamic_cast<VeriVariable*>(old)) {
        if (auto* var = dynamic_cast<VeriVariable*>(id)) {
            if (!port->dataType || !port->dataType->type) port->dataType = var->dataType;
            if (!port->dir) port->dir = var->dir;
            if (!var->dir) var->dir = port->dir;
            if (!(port->dir && var->dir && port->dir != var->dir) && (port->dir || var->dir)) return;
        }
    }
    if (old && duplicate(old, id)) duplicates.push_back(id);
    target->declare(arena, id);
}

// Names that one region may hold twice: a forward type declaration and its type, block
// and generate labels (generate blocks of one name may be alternatives of one construct:
// the name check judges them once the unit is complete), and whatever elaboration makes.
bool VeriParser::Impl::duplicate(const VeriIdDef* old, const VeriIdDef* id) {
    auto mayRepeat = [](const VeriIdDef* d) {
        return dynamic_cast<const VeriTypeId*>(d) || dynamic_cast<const VeriBlockId*>(d) ||
               dynamic_cast<const VeriLabelId*>(d) || dynamic_cast<const VeriGenVarId*>(d) ||
               dynamic_cast<const VeriModuleId*>(d) || dynamic_cast<const VeriInterfaceId*>(d) ||
               dynamic_cast<const VeriProgramId*>(d) || dynamic_cast<const VeriCheckerId*>(d) ||
               dynamic_cast<const VeriUdpId*>(d) || dynamic_cast<const VeriConfigurationId*>(d);
    };
    return !mayRepeat(old) && !mayRepeat(id);
}

VeriIdRef* VeriParser::Impl::makeRef(const VeriToken& t) {
    auto* ref = make<VeriIdRef>(t);
    ref->name = name(t);
    finish(ref);
    pending.push_back({ref, scope});
    return ref;
}

VeriIdDef* VeriParser::Impl::lookupInPackage(VeriModule* package, Symbol n) {
    if (!package || !package->scope) return nullptr;
    return package->scope->findLocal(n);
}

VeriIdDef* VeriParser::Impl::lookup(VeriScope* from, Symbol n) {
    for (VeriScope* s = from; s; s = s->Upper()) {
        if (VeriIdDef* id = s->findLocal(n)) return id;
        for (const VeriScope::Import* imp = s->imports(); imp; imp = imp->next) {
            if (!imp->item.empty() && imp->item != n) continue;
            if (VeriIdDef* id = lookupInPackage(imp->package, n)) return id;
        }
    }
    return nullptr;
}

void VeriParser::Impl::resolvePending() {
    for (const Pending& p : pending) {
        if (!p.ref->id) p.ref->id = lookup(p.scope, p.ref->name);
        if (!p.ref->id) unresolved.insert(p.ref);
    }
    pending.clear();
}

void VeriParser::Impl::importPackage(VeriScopeName* item) {
    VeriModule* package = nullptr;
    std::string_view pkgName = item->prefix ? item->prefix->GetName() : std::string_view();
    if (hooks.findPackage) package = hooks.findPackage(pkgName);
    if (!package) {
        ++errors;
        std::string n(pkgName);
        ColLineFile where = item->Linefile();
        Message::Tell<veri_msg::PackageNotKnown>(&where, n.c_str());
        return;
    }
    if (auto* ref = dynamic_cast<VeriIdRef*>(item->prefix)) ref->id = package->id;
    if (!item->name.empty()) item->id = lookupInPackage(package, item->name);
    declarationScope()->addImport(arena, package, item->name);
}

VeriParser::VeriParser(VeriPreprocessor& pp, Arena& arena, VeriParserHooks hooks)
    : impl_(new Impl(pp, arena, std::move(hooks))) {}

VeriParser::~VeriParser() { delete impl_; }

unsigned VeriParser::parse() {
    impl_->parseSourceText();
    return impl_->errors;
}

VeriPackage* VeriParser::compilationUnit() const { return impl_->unitScopeOwner; }

const VeriParser::NodeCounts& VeriParser::NodesMade() { return Impl::nodesMade(); }

void VeriParser::ResetNodesMade() { Impl::nodesMade().fill(0); }

} // namespace hdl
