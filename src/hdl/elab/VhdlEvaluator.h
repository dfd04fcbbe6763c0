// Evaluation of VHDL expressions at elaboration, as a simulator would evaluate them:
// names of constants, generics and generate parameters, literals, aggregates,
// operators, attributes, conversions and function calls (standard package functions
// natively, user functions interpreted).
//
// Values live in frames, one per declarative region that is being elaborated or
// executed (an entity with its generics, an architecture, a block, one iteration of a
// generate, a subprogram call). A frame knows its declarations from the start but
// evaluates a constant or a type only when something asks for it, so that a constant
// nobody needs (a test vector read from a file) costs nothing and reports nothing.
// Packages get one frame each, made on first use.
//
// Errors (division by zero, a bound reached, a name that has no static value) throw
// VhdlEvalError; the elaborator reports it where the value was needed.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/base/MessageCatalogue.h"
#include "hdl/base/MessageFormat.h"
#include "hdl/elab/ElabLimits.h"
#include "hdl/elab/VhdlValue.h"
#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlEvalError : public std::exception {
public:
    VhdlEvalError(const char* id, const ColLineFile& loc, std::string text)
        : id_(id), loc_(loc), text_(std::move(text)) {}
    const char* what() const noexcept override { return text_.c_str(); }
    const char* Id() const { return id_; }
    const ColLineFile& Location() const { return loc_; }
    const std::string& Text() const { return text_; }

private:
    const char* id_;
    ColLineFile loc_;
    std::string text_;
};

// One named thing of a frame: a constant, generic, variable or parameter with its
// subtype and value, or a type. Constants and types start pending and are worked out
// on first use.
struct VhdlSlot {
    enum State : uint8_t { Pending, Busy, Ready };
    State state = Pending;
    const VhdlTreeNode* declaration = nullptr;
    const VhdlType* type = nullptr;
    VhdlValue value;
};

struct VhdlFrame {
    VhdlFrame* parent = nullptr; // the enclosing region (static chain)
    VhdlFrame* caller = nullptr; // the frame current when this one was pushed
    const VhdlTreeNode* region = nullptr;
    std::unordered_map<const VhdlIdDef*, VhdlSlot> slots;
    // Of a subprogram call: the function result once returned.
    bool returned = false;
    VhdlValue result;
};

class VhdlEvaluator {
public:
    explicit VhdlEvaluator(const ElabLimits& limits = ElabLimits());
    ~VhdlEvaluator();
    VhdlEvaluator(const VhdlEvaluator&) = delete;
    VhdlEvaluator& operator=(const VhdlEvaluator&) = delete;

    const ElabLimits& Limits() const { return limits_; }

    // Frames. A pushed frame's parent is the current one unless given; a root frame (a
    // unit being elaborated) has none.
    VhdlFrame* Push(const VhdlTreeNode* region, VhdlFrame* parent = nullptr, bool root = false);
    void Pop();
    VhdlFrame* Current() const { return current_; }
    // Enters the declarations of a region into a frame: constants and types pending,
    // subprogram bodies known. Variables are not entered (they are executed).
    void Declare(VhdlFrame* frame, const VhdlNodeList& declarations);
    // Sets an object of a frame: a generic, a parameter, a generate parameter.
    void Bind(VhdlFrame* frame, const VhdlIdDef* id, VhdlValue value, const VhdlType* type);
    VhdlSlot* FindSlot(const VhdlIdDef* id);

    // The value of an expression; `expected` (may be null) types literals and
    // aggregates. The result is not checked against `expected`.
    VhdlValue Evaluate(const VhdlTreeNode* expr, const VhdlType* expected = nullptr);
    // The same in another frame (an actual of a generic map, in the instantiating region).
    VhdlValue EvaluateIn(VhdlFrame* frame, const VhdlTreeNode* expr, const VhdlType* expected);
    const VhdlType* EvaluateSubtypeIn(VhdlFrame* frame, const VhdlTreeNode* subtype);
    // The value converted to `type`: untyped literals typed, array bounds taken from a
    // constrained type, scalars checked against the range.
    VhdlValue Conform(VhdlValue value, const VhdlType* type, const VhdlTreeNode* where);
    bool EvaluateCondition(const VhdlTreeNode* expr);
    // Whether a value is among the choices of a case alternative (values, ranges,
    // subtypes, others).
    bool Matches(const VhdlValue& selector, const VhdlNodeList& choices);
    // A subtype indication or type mark.
    const VhdlType* EvaluateSubtype(const VhdlTreeNode* subtype);
    // A discrete or real range: `a to b`, `x'range`, a type mark, `t range a to b`.
    VhdlBounds EvaluateRange(const VhdlTreeNode* range, const VhdlType** type);
    // The value of a constant, generic or other object by its identifier.
    VhdlValue ValueOf(const VhdlIdDef* id, const VhdlTreeNode* where);
    // The subtype of an object (also of a signal or port) or the type a type id names.
    const VhdlType* TypeOfId(const VhdlIdDef* id, const VhdlTreeNode* where);

    // Types of package standard.
    const VhdlType* UniversalInteger();
    const VhdlType* UniversalReal();
    const VhdlType* IntegerType();
    const VhdlType* RealType();
    const VhdlType* BooleanType();
    const VhdlType* BitType();
    const VhdlType* CharacterType();
    const VhdlType* StringType();
    const VhdlType* SeverityType();
    VhdlValue Boolean(bool b);

    // Values of types that the elaborator makes itself.
    VhdlType* NewType(VhdlTypeKind kind);
    // An array subtype of `base` constrained to `range` (first dimension).
    const VhdlType* ConstrainedArray(const VhdlType* base, const VhdlBounds& range);
    // Counts one evaluation step against the bound.
    void Step(const VhdlTreeNode* where);
    // Stops the evaluation with the catalogue text M; the arguments must fit its format,
    // which the compiler checks.
    template <const MessageText& M, typename... A>
    [[noreturn]] void Fail(const VhdlTreeNode* where, A... args) {
        static_assert(message_format::FormatFits<A...>(M.format), "the arguments do not fit the message's format");
        FailWith(M.id.id, where, M.format, args...);
    }
    [[noreturn]] void NotStatic(const VhdlTreeNode* where, const char* what);
    // Text of a node for messages, shortened.
    static std::string Text(const VhdlTreeNode* node);

    // Subprograms: the body of a subprogram identifier, and calls.
    const VhdlSubprogramBody* BodyOf(const VhdlIdDef* subprogram);
    // `preset` holds actuals already evaluated, by their place among `actuals` (or, with
    // no `actuals`, by position); the others are evaluated here.
    VhdlValue Call(const VhdlIdDef* subprogram, const VhdlNodeList& actuals, const VhdlTreeNode* where,
                   const VhdlType* expected, const std::vector<VhdlValue>* preset = nullptr);
    // An operator that a package declares for the operands' types ("+" of a physical type
    // of the design); false when none takes them.
    bool CallUserOperator(unsigned op, const VhdlValue* left, const VhdlValue& right, const VhdlTreeNode* where,
                          VhdlValue& result);

    // Among the subprograms of the name of `first` that resolution could not tell apart
    // by their number of parameters, the one whose parameter types take the actuals.
    // The actuals are evaluated once, into `values`, for Call to take.
    const VhdlIdDef* ChooseOverload(const VhdlIdDef* first, const VhdlNodeList& actuals, const VhdlTreeNode* where,
                                    std::vector<VhdlValue>& values);
    // The subprograms of a name visible where evaluation stands: the declarations of the
    // regions of the current frames and what their use clauses make visible.
    std::vector<const VhdlIdDef*> VisibleSubprograms(std::string_view name);

    // A message of the design (an assertion or report) while evaluating.
    void Report(const VhdlTreeNode* where, const VhdlValue& message, int64_t severity);

private:
    friend class VhdlInterpreter;
    // Fail without the compiler's format check, which Fail has made already.
    [[noreturn]] void FailWith(const char* id, const VhdlTreeNode* where, const char* format, ...);
    struct Impl;

    VhdlValue EvaluateName(const VhdlTreeNode* name, const VhdlType* expected);
    VhdlValue EvaluateIndexed(const VhdlIndexedName& n, const VhdlType* expected);
    VhdlValue EvaluateSelected(const VhdlSelectedName& n, const VhdlType* expected);
    VhdlValue EvaluateAggregate(const VhdlAggregate& n, const VhdlType* expected);
    VhdlValue EvaluateOperator(const VhdlOperator& n, const VhdlType* expected);
    VhdlValue EvaluateAttribute(const VhdlAttributeName& n, const VhdlNodeList* args, const VhdlType* expected);
    VhdlBounds EvaluateAttributeRange(const VhdlAttributeName& n, const VhdlNodeList* args, const VhdlType** type);
    // The index ranges of an array object or value named by `prefix`, and its type.
    std::vector<VhdlBounds> ArrayBounds(const VhdlTreeNode* prefix, const VhdlType** type);
    VhdlValue EvaluateLiteral(const VhdlTreeNode* n, const VhdlType* expected);
    VhdlValue Convert(const VhdlType* to, VhdlValue v, const VhdlTreeNode* where);
    VhdlValue Index(const VhdlValue& array, const VhdlNodeList& indexes, const VhdlTreeNode* where);
    VhdlValue ArrayAggregate(const VhdlAggregate& n, const VhdlType* type);
    VhdlValue RecordAggregate(const VhdlAggregate& n, const VhdlType* type);

    const VhdlType* TypeOfDeclaration(const VhdlIdDef* id, const VhdlTreeNode* decl);
    const VhdlType* TypeDefinition(const VhdlIdDef* id, const VhdlTypeDef* def);
    VhdlSlot* Lookup(const VhdlIdDef* id, const VhdlTreeNode* where);
    void Resolve(VhdlSlot& slot, const VhdlIdDef* id, VhdlFrame* frame, const VhdlTreeNode* where);
    VhdlFrame* PackageFrame(const VhdlDesignUnit* unit);
    VhdlFrame* DeclaringFrame(const VhdlIdDef* id);
    void DeclarePackage(VhdlFrame* frame, const VhdlPackageDecl& decl);
    // The frame of an instance of a generic package: its generics bound from the
    // instantiation's generic map, evaluated in `context` (the frame that declares a
    // local instantiation; null for one in a library).
    VhdlFrame* InstanceFrame(const VhdlPackageInstantiationDecl& inst, VhdlFrame* context);
    // The instance of generic package `generic` that the regions of the current frames
    // make visible by a use clause; null when none does.
    VhdlFrame* VisibleInstance(const VhdlPackageDecl& generic);
    VhdlFrame* InstanceOfSelection(const VhdlPackageInstantiationDecl& inst);
    const VhdlType* StandardType(const char* name);
    const VhdlType* PhysicalTypeOfUnit(const VhdlIdDef* unit, const VhdlTreeNode* where);

    ElabLimits limits_;
    std::unique_ptr<Impl> impl_;
    std::deque<VhdlFrame> stack_;
    VhdlFrame* current_ = nullptr;
    bool universalRanges_ = false;
    // While a name selected through an instance (`inst.f(x)`, `inst.C`) is evaluated:
    // that instance, for the generic package it instantiates.
    std::vector<std::pair<const VhdlPackageDecl*, VhdlFrame*>> selectedInstances_;
};

// Frame of a region for the life of a scope.
class VhdlFrameScope {
public:
    VhdlFrameScope(VhdlEvaluator& ev, const VhdlTreeNode* region, VhdlFrame* parent = nullptr, bool root = false)
        : ev_(ev), frame_(ev.Push(region, parent, root)) {}
    ~VhdlFrameScope() { ev_.Pop(); }
    VhdlFrameScope(const VhdlFrameScope&) = delete;
    VhdlFrameScope& operator=(const VhdlFrameScope&) = delete;
    VhdlFrame* Frame() const { return frame_; }

private:
    VhdlEvaluator& ev_;
    VhdlFrame* frame_;
};

} // namespace hdl
