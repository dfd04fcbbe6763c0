// Internals of the Verilog parser, shared by its source files (expressions, statements,
// items and units). Recursive descent with one token of look-ahead, and bounded scans
// ahead where the grammar needs them (declaration or instantiation or statement).
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "hdl/base/ArenaArray.h"
#include "hdl/base/ErrorRecovery.h"
#include "hdl/base/Message.h"
#include "hdl/sv/VeriParser.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

// A name of a unit that nothing declared when the unit ended, with which text tells it.
// The classes and functions of the built-in package std, visible everywhere.
inline bool isVeriBuiltInName(std::string_view n) {
    return n == "process" || n == "mailbox" || n == "semaphore" || n == "randomize" || n == "weak_reference";
}

struct VeriUndeclaredName {
    VeriIdRef* ref;
    unsigned kind;
};

struct VeriParser::Impl {
    Impl(VeriPreprocessor& pp, Arena& arena, VeriParserHooks hooks);

    VeriPreprocessor& pp;
    Arena& arena;
    VeriParserHooks hooks;
    // Tokens looked at but not yet taken: a ring whose size is a power of two, so the
    // scans ahead neither shift nor copy what is already buffered.
    std::vector<VeriToken> ring;
    size_t head = 0; // index of the current token in `ring`
    size_t buffered = 0;
    VeriToken prev; // the last token consumed
    unsigned errors = 0; // syntax errors found, told or not
    // Tokens taken so far, and those of them taken by the skips that re-synchronise
    // after an error: the recovery policy counts the others as text read.
    size_t taken = 0;
    size_t skipped = 0;
    ErrorRecovery recovery;
    unsigned depth = 0;
    bool bailing = false; // after too deep nesting: unwind without further messages
    // The compilation unit's scope is being checked without the items that did not parse.
    bool itemsLeftOut = false;
    VeriPackage* unitScopeOwner = nullptr;
    VeriScope* scope = nullptr;
    VeriSeqBlock* unscopedBlock = nullptr; // entered, but no scope of its own yet
    // References made in the unit being parsed, with the scope they stand in.
    struct Pending {
        VeriIdRef* ref;
        VeriScope* scope;
    };
    std::vector<Pending> pending;
    // References that no declaration in sight resolved, for the name check.
    std::unordered_set<VeriIdRef*> unresolved;
    // Second declarations of a name in one scope, told with the name check.
    std::vector<VeriIdDef*> duplicates;
    // Names of a unit that nothing declared when it ended; the compilation unit's scope
    // may declare them later in the file, so they are told at its end (VeriNameCheck.cpp).
    std::vector<VeriUndeclaredName> undeclared;
    void tellUndeclared();

    // ---- tokens
    // The reference lasts until the next peek or take.
    const VeriToken& peek(size_t k = 0) {
        if (k >= buffered) fill(k);
        return ring[(head + k) & (ring.size() - 1)];
    }
    void fill(size_t k); // reads tokens until k + 1 are buffered
    void grow();
    void unread(const VeriToken& t); // puts t back in front of the current token
    unsigned kind(size_t k = 0) { return peek(k).kind; }
    bool at(unsigned k) { return kind() == k; }
    VeriToken take();
    bool accept(unsigned k);
    bool expect(unsigned k);
    bool atEof() { return kind() == VT_EOF; }
    bool isIdent(size_t k = 0) {
        unsigned t = kind(k);
        return t == VT_IDENTIFIER || t == VT_ESCAPED_IDENTIFIER;
    }
    Symbol name(const VeriToken& t);
    Symbol takeName();
    void syntaxError(const VeriToken& at, const char* expected = nullptr);
    // Skips a balanced group that starts at the current token ((, [, {, begin...).
    void skipBalanced();
    // Skips up to and including `;` at nesting level 0.
    void skipToSemi();
    // Skips tokens until `endKind` at level 0 and takes it; nested `open` words count.
    void skipUntilEnd(unsigned open, unsigned endKind);
    void skipEndLabel();
    // Skips whatever stands before the next item boundary, after an error.
    void recoverItem();
    void recoverStatement();
    // At a word that ends a design unit or class (a missing end of an inner construct).
    bool atUnitEnd();

    // Lists are gathered in buffers that the parser reuses and are frozen into the arena
    // once complete, one block per list.
    std::vector<std::vector<void*>> spareBuffers;
    template <typename T>
    class List {
    public:
        explicit List(Impl& parser) : parser_(parser) {
            if (parser.spareBuffers.empty()) return;
            items_.swap(parser.spareBuffers.back());
            parser.spareBuffers.pop_back();
        }
        ~List() {
            items_.clear();
            parser_.spareBuffers.push_back(std::move(items_));
        }
        List(const List&) = delete;
        List& operator=(const List&) = delete;
        void push(T* item) { items_.push_back(item); }
        void clear() { items_.clear(); }
        size_t size() const { return items_.size(); }
        bool empty() const { return items_.empty(); }
        T* operator[](size_t i) const { return static_cast<T*>(items_[i]); }
        ArenaArray<T*> freeze() const {
            static_assert(sizeof(T*) == sizeof(void*));
            return ArenaArray<T*>(parser_.arena, reinterpret_cast<T* const*>(items_.data()), items_.size());
        }

    private:
        Impl& parser_;
        std::vector<void*> items_;
    };
    ArenaArray<unsigned> freeze(const std::vector<unsigned>& items) { return ArenaArray<unsigned>(arena, items); }
    template <typename T>
    ArenaArray<T*> single(T* item) {
        return ArenaArray<T*>(arena, &item, 1);
    }

    template <typename T>
    T* make() {
        ++nodesMade()[T::kClassId + kVeriClassIdOffset];
        return arena.make<T>();
    }
    template <typename T>
    T* make(const VeriToken& start) {
        T* node = make<T>();
        node->SetLinefile(ColLineFile(start.fileId, start.line, start.col));
        return node;
    }
    static NodeCounts& nodesMade();
    // Takes the nodes of a subtree the parse leaves out of the tree off the count.
    void dropped(VeriTreeNode* subtree);
    // The same for one node whose children live on elsewhere in the tree.
    void droppedNode(VeriTreeNode* node) {
        if (node) --nodesMade()[node->GetClassId() + kVeriClassIdOffset];
    }
    // Attributes go to the node they stand in front of, or are dropped with it.
    void attach(VeriTreeNode* node, std::vector<VeriAttribute>& attrs);
    void finish(VeriTreeNode* node);
    std::string_view copy(std::string_view text) { return arena.copy(text); }

    struct DepthGuard {
        Impl& p;
        bool ok;
        explicit DepthGuard(Impl& parser);
        ~DepthGuard() { --p.depth; }
    };

    // ---- scopes and names
    // Where the parse stands in scopes, to go back to.
    struct ScopeMark {
        VeriScope* scope;
        VeriSeqBlock* unscopedBlock;
    };
    ScopeMark pushScope(VeriTreeNode* owner);
    // Most blocks declare nothing: an unnamed block gets its scope with its first
    // declaration or import.
    ScopeMark enterBlock(VeriSeqBlock* block);
    void popScope(const ScopeMark& mark) {
        scope = mark.scope;
        unscopedBlock = mark.unscopedBlock;
    }
    // The scope declarations go to; makes the scope of the block it is in.
    VeriScope* declarationScope();
    void declare(VeriIdDef* id);
    bool duplicate(const VeriIdDef* old, const VeriIdDef* id);
    VeriIdRef* makeRef(const VeriToken& t);
    void resolvePending();
    VeriIdDef* lookup(VeriScope* from, Symbol name);
    VeriIdDef* lookupInPackage(VeriModule* package, Symbol name);
    void importPackage(VeriScopeName* item);
    // A name of the package, or one it imports (and may export again).
    VeriIdDef* findInPackage(VeriModule* package, Symbol name);
    // Reports what `unit` names and nothing declares (VeriNameCheck.cpp).
    void checkNames(VeriModule* unit);
    // Reports language rules that `unit` breaks in ways one unit shows (VeriSemanticCheck.cpp).
    void checkSemantics(VeriModule* unit);
    // Reports broken rules of constraints and random variables (VeriRandCheck.cpp).
    void checkRandomization(VeriModule* unit);
    // Reports assignments whose value cannot have the target's type (VeriTypeCheck.cpp).
    void checkTypes(VeriModule* unit);
    // Reports broken rules of class headers and forward typedefs (VeriClassCheck.cpp);
    // undeclared types wait in `undeclared` under `typeKind`.
    void checkClasses(VeriModule* unit, unsigned typeKind);

    // ---- expressions (VeriParseExpr.cpp)
    VeriExpression* parseExpression();
    // `prefix::name` after the `::`, resolved when the prefix names a package.
    VeriScopeName* scopeName(VeriToken start, VeriExpression* prefix);
    VeriExpression* parseBinary(int minPrec);
    VeriExpression* parseUnary();
    VeriExpression* parsePrimary();
    VeriExpression* parsePostfix(VeriExpression* e, const VeriToken& start);
    VeriExpression* parseNumber();
    VeriExpression* parseBraces();
    VeriExpression* parsePattern(VeriExpression* type, const VeriToken& start);
    VeriExpression* parseMinTypMax();
    VeriExpression* parseTypeOrExpression();
    VeriExpression* parseRangeOrExpression(); // [a:b] items of inside / dist
    bool bracesAfterParentheses(); // at '(': whether '{' follows the group
    VeriRange* parseSelect(); // after '[': index or part select, and ']'
    VeriRange* parseDimensions(); // zero or more [..] dimensions
    void parseCallArgs(List<VeriExpression>& args); // after '(' up to ')'
    ArenaArray<VeriExpression*> parseCallArgs(); // the same, frozen
    VeriDelayOrEventControl* parseDelay(); // at '#'
    ArenaArray<VeriExpression*> parseDelayValues(); // after '#'
    VeriDelayOrEventControl* parseEventControl(); // at '@'
    VeriExpression* parseEventExpression();
    ArenaArray<VeriExpression*> parseParamValues(); // at '#'
    VeriExpression* parseLValue();
    bool startsExpression(unsigned k);

    // ---- types and declarations (VeriParseDecl.cpp)
    bool isNetType(unsigned k);
    bool isBuiltinType(unsigned k);
    bool isDirection(unsigned k);
    // Scans from token k over a type name (a, a::b, a#(..), [..]...) and says whether an
    // identifier follows, i.e. whether a declaration starts at k.
    bool declarationAhead(size_t k);
    bool instantiationAhead();
    VeriDataType* parseClassType();
    VeriDataType* parseDataType(bool allowImplicit);
    VeriDataType* parseStructUnion();
    VeriDataType* parseEnum();
    VeriDataDecl* parseDataDecl(const VeriToken& start, unsigned dir, unsigned kind, bool netDecl,
                                const std::vector<unsigned>& qualifiers);
    void parseDeclarators(VeriDataDecl* decl);
    VeriModuleItem* parseTypedef(const VeriToken& start);
    VeriDataDecl* parseParamDecl(const VeriToken& start, unsigned kind, bool inPortList);
    VeriModuleItem* parseDeclarationItem(); // data/net/param/typedef at the current token, or null
    VeriFunctionDecl* parseSubprogram(const VeriToken& start, bool isTask, unsigned dpi);
    ArenaArray<VeriTreeNode*> parseSubprogramPorts(); // after '(' up to and including ')'
    VeriFunctionDecl* parseSubprogramPrototype(const VeriToken& start); // modport import/export
    void parseAttributes(std::vector<VeriAttribute>& out);

    // ---- statements (VeriParseStmt.cpp)
    VeriStatement* parseStatement();
    // One declaration or statement of a block with its attributes; false when neither was read.
    bool parseBlockItem(List<VeriModuleItem>& decls, List<VeriStatement>& stmts);
    VeriStatement* parseStatementOrNull() { return parseStatement(); }
    VeriStatement* parseBlock(bool par);
    VeriStatement* parseIf(unsigned qualifier, const VeriToken& start);
    VeriStatement* parseCase(unsigned qualifier, const VeriToken& start);
    VeriStatement* parseFor(const VeriToken& start);
    VeriStatement* parseForeach(const VeriToken& start);
    bool indexedPrefixAhead();
    VeriStatement* parseAssertion(const VeriToken& start);
    VeriStatement* parseSimpleStatement(const VeriToken& start);
    VeriStatement* parseAssignmentRest(VeriExpression* lval, const VeriToken& start, bool needSemi);

    // ---- constraints (VeriParseConstraint.cpp)
    VeriModuleItem* parseConstraintDecl(const VeriToken& start);
    void parseConstraintBlock(List<VeriExpression>& items); // at '{' up to and including '}'
    VeriExpression* parseConstraintItem();
    VeriExpression* parseConstraintSet(); // one constraint, or a braced set
    VeriExpression* parseInlineConstraint(); // after `with`
    // Skips a broken constraint or production up to its ';', or up to a closing brace or
    // `endsequence` that ends the construct around it.
    void recoverInBlock();
    // (array[i, j]) of a foreach: the array, and the loop variables declared in a scope
    // of `owner`, which stays open for the body.
    ScopeMark parseForeachHeader(VeriTreeNode* owner, VeriExpression*& array, ArenaArray<VeriIdDef*>& loopVars);

    // ---- randsequence (VeriParseRandsequence.cpp)
    VeriStatement* parseRandsequence(const VeriToken& start);
    VeriProduction* parseProduction();
    VeriProductionItem* parseProductionRule();
    VeriStatement* parseProductionCall();
    VeriCodeBlock* parseCodeBlock();

    // ---- items and units (VeriParseItem.cpp)
    void parseSourceText();
    VeriModule* parseUnit(const VeriToken& start, std::vector<VeriAttribute> attrs);
    void parseUnitHeader(VeriModule* m, List<VeriModuleItem>& items);
    void parseParameterPortList(List<VeriTreeNode>& parameters);
    void parsePortList(VeriModule* m, List<VeriTreeNode>& ports);
    VeriModuleItem* parseItem(unsigned endKind);
    void parseItems(List<VeriModuleItem>& items, unsigned endKind);
    VeriModuleItem* parseInstantiation(const VeriToken& start);
    VeriModuleItem* parseGateInstantiation(const VeriToken& start);
    VeriModuleItem* parseGenerateItemBody(); // the item of a generate if/for/case
    VeriModuleItem* parseGenerateFor(const VeriToken& start);
    VeriModuleItem* parseGenerateIf(const VeriToken& start);
    VeriModuleItem* parseGenerateCase(const VeriToken& start);
    VeriModuleItem* parseGenerateBlock(const VeriToken& start);
    VeriModuleItem* parseModport(const VeriToken& start);
    VeriModuleItem* parseImportExport(const VeriToken& start, bool isExport);
    VeriModuleItem* parseSkipped(VeriSkippedItem* node, unsigned open, unsigned endKind, bool named);
    VeriModuleItem* parseClass(const VeriToken& start);
    VeriModuleItem* parseContinuousAssign(const VeriToken& start);
    VeriModuleItem* parseConfig(const VeriToken& start);
    VeriModuleItem* parseConfigRule(const VeriToken& start);
    VeriExpression* parseConfigCell(); // [lib.]cell
    VeriModuleItem* parseBind(const VeriToken& start);
    VeriStrength* parseStrength();
    bool isGate(unsigned k);
};

} // namespace hdl
