#include "hdl/sv/VeriTree.h"

#include <algorithm>
#include <type_traits>
#include <unordered_map>

#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {

void VeriTreeNode::Accept(VeriVisitor& v) { v.Visit(*this); }

void VeriIdRef::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriIndexedId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriIndexedMemoryId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSelectedName::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriScopeName::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriIntVal::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriRealVal::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConstVal::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTimeLiteral::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDollar::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNull::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriKeyword::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriUnaryOperator::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriBinaryOperator::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriQuestionColon::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConcat::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriMultiConcat::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriStreamingConcat::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriFunctionCall::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSystemFunctionCall::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriMinTypMaxExpr::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriAssignmentPattern::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriMultiAssignmentPattern::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCast::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNew::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriPortConnect::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriPortOpen::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDotStar::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriEventExpression::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriRange::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTypeOperator::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTaggedUnion::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDataType::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTypeRef::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriStructUnion::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriEnum::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNetDataType::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriStrength::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDelayOrEventControl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriVariable::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriParamId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenVarId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriModuleId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriInterfaceId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriProgramId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriInstId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriFunctionId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTaskId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriBlockId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTypeId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriModportId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriUdpId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriLabelId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConfigurationId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCheckerId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriClockingId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriPrototypeId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriAnsiPortDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNetRegAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDefParamAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenerateCaseItem::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCaseItem::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDataDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNetDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriModuleInstantiation::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGateInstantiation::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriContinuousAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriAlwaysConstruct::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriInitialConstruct::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenerateConstruct::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenerateFor::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenerateConditional::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenerateCase::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriGenerateBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriFunctionDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTaskDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDefParam::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriModport::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriModportDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriImportDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriExportDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriClass::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCovergroup::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriPropertyDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSequenceDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriClockingDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConstraintDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriLetDecl::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSpecifyBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriBindDirective::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNetAlias::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTimeUnit::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTable::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriModule::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriInterface::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriProgram::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriPackage::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriPrimitive::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriChecker::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConfiguration::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDefaultConfig::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriInstanceConfig::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCellConfig::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriUseClause::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSeqBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriParBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConstraintSet::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriIfOperator::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriForeachOperator::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSolveBefore::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDistOperator::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriInlineConstraint::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriProductionId::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriProduction::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriProductionItem::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCodeBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriRandsequence::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriBlockingAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNonBlockingAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriConditionalStatement::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriCaseStatement::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriFor::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriWhile::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDoWhile::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriRepeat::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriForever::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriForeach::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriEventControlStatement::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDelayControlStatement::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriTaskEnable::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriSystemTaskEnable::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriJumpStatement::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriNullStatement::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriWait::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDisable::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriEventTrigger::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriDeAssign::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriForce::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriRelease::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriAssertion::Accept(VeriVisitor& v) { v.Visit(*this); }

void VeriTreeTraits::Traverse(VeriVisitor& v, VeriTreeNode* node) { v.TraverseNode(node); }

VeriTreeNode* VeriTreeNode::Copy(Arena& arena) const {
    TreeCopier copier(arena);
    return Copy(copier);
}

namespace {
// Extras by node. An entry outlives its node when an arena goes, but only a marked node
// is looked up, and marking a node writes its entry anew.
std::unordered_map<const VeriTreeNode*, VeriNodeExtras>& extrasTable() {
    static std::unordered_map<const VeriTreeNode*, VeriNodeExtras> table;
    return table;
}
} // namespace

void VeriTreeNode::ForgetAllTrees() {
    extrasTable().clear();
    PackedLineFile::ForgetAllOnTheSide();
    Symbol::ForgetAll();
}

const VeriNodeExtras* VeriTreeNode::Extras() const { return loc.Marked() ? &extrasTable()[this] : nullptr; }

VeriNodeExtras& VeriTreeNode::MutableExtras() {
    if (!loc.Marked()) {
        loc.SetMark(true);
        extrasTable()[this] = VeriNodeExtras();
    }
    return extrasTable()[this];
}

ArenaArray<VeriAttribute> VeriTreeNode::GetAttributes() const {
    const VeriNodeExtras* e = Extras();
    return e ? e->attributes : ArenaArray<VeriAttribute>();
}

void VeriTreeNode::SetAttributes(ArenaArray<VeriAttribute> attributes) {
    if (!attributes.Empty() || loc.Marked()) MutableExtras().attributes = attributes;
}

ArenaArray<unsigned> VeriModuleItem::GetQualifiers() const {
    const VeriNodeExtras* e = Extras();
    return e ? e->qualifiers : ArenaArray<unsigned>();
}

void VeriModuleItem::SetQualifiers(ArenaArray<unsigned> qualifiers) {
    if (!qualifiers.Empty() || loc.Marked()) MutableExtras().qualifiers = qualifiers;
}

VeriLabelId* VeriStatement::GetLabel() const {
    const VeriNodeExtras* e = Extras();
    return e ? e->label : nullptr;
}

void VeriStatement::SetLabel(VeriLabelId* label) {
    if (label || loc.Marked()) MutableExtras().label = label;
}

void VeriTreeTraits::WalkExtras(VeriVisitor& v, const VeriTreeNode& node) {
    if (const VeriNodeExtras* e = node.Extras()) v.TraverseNode(e->label);
}

void VeriClass::VisitChildren(VeriVisitor& v) {
    VeriTreeTraits::WalkExtras(v, *this);
    v.TraverseNode(id);
    uint32_t header = std::min<uint32_t>(parameters, items.Size());
    for (uint32_t i = 0; i < header; ++i) v.TraverseNode(items[i]);
    for (VeriDataType* t : extends) v.TraverseNode(t);
    for (VeriDataType* t : implements) v.TraverseNode(t);
    for (uint32_t i = header; i < items.Size(); ++i) v.TraverseNode(items[i]);
}

bool VeriTreeTraits::EqualExtras(const VeriTreeNode& a, const VeriTreeNode& b) {
    if (!a.loc.Marked() && !b.loc.Marked()) return true;
    static const VeriNodeExtras none;
    const VeriNodeExtras& x = a.loc.Marked() ? *a.Extras() : none;
    const VeriNodeExtras& y = b.loc.Marked() ? *b.Extras() : none;
    if (x.attributes.Size() != y.attributes.Size() || x.qualifiers.Size() != y.qualifiers.Size()) return false;
    for (uint32_t i = 0; i < x.attributes.Size(); ++i) {
        if (x.attributes[i].name != y.attributes[i].name) return false;
        if (!tree::NodesEqual<VeriTreeNode>(x.attributes[i].value, y.attributes[i].value)) return false;
    }
    for (uint32_t i = 0; i < x.qualifiers.Size(); ++i)
        if (x.qualifiers[i] != y.qualifiers[i]) return false;
    return tree::NodesEqual<VeriTreeNode>(x.label, y.label);
}

void VeriTreeTraits::CloneExtras(TreeCopier& c, const VeriTreeNode& original, VeriTreeNode& copy) {
    if (!original.loc.Marked()) return;
    c.NoteOutsideEntry(&copy);
    // The entry of the copy is written once its label and values are cloned.
    VeriNodeExtras e = *original.Extras();
    e.attributes = ArenaArray<VeriAttribute>(c.arena(), e.attributes.begin(), e.attributes.Size());
    for (VeriAttribute& a : e.attributes)
        if (a.value) a.value = static_cast<VeriExpression*>(a.value->CloneNode(c));
    e.qualifiers = ArenaArray<unsigned>(c.arena(), e.qualifiers.begin(), e.qualifiers.Size());
    if (e.label) e.label = static_cast<VeriLabelId*>(e.label->CloneNode(c));
    extrasTable()[&copy] = e;
}

void VeriTreeTraits::RemapExtras(TreeCopier& c, VeriTreeNode& node) {
    if (!node.loc.Marked()) return;
    VeriNodeExtras e = *node.Extras();
    for (const VeriAttribute& a : e.attributes)
        if (a.value) a.value->RemapLinks(c);
    if (e.label) e.label->RemapLinks(c);
}

VeriNodeExtras VeriTreeTraits::ExtrasOf(const VeriTreeNode& node) {
    const VeriNodeExtras* e = node.Extras();
    return e ? *e : VeriNodeExtras();
}

void VeriTreeTraits::SetExtras(const VeriTreeNode& node, const VeriNodeExtras& extras) {
    extrasTable()[&node] = extras;
}

void VeriTreeTraits::ForgetExtras(const VeriTreeNode& node) { extrasTable().erase(&node); }

// Every concrete class has its own field list, and no class needs its destructor run.
#define HDL_VERI_CLASS_CHECKS(cls, base) \
    static_assert(std::is_abstract_v<cls> || tree::OwnsFieldList<cls>::value, #cls " lists its own fields"); \
    static_assert(std::is_trivially_destructible_v<cls>, #cls " is trivially destructible");
HDL_VERI_NODE_CLASSES(HDL_VERI_CLASS_CHECKS)
#undef HDL_VERI_CLASS_CHECKS
static_assert(std::is_trivially_destructible_v<VeriScope>);

bool VeriDataDecl::IsTypedef() const { return kind == VT_TYPEDEF; }

VeriBlockId* VeriGenerateFor::GetBlockId() const {
    auto* block = dynamic_cast<VeriGenerateBlock*>(item);
    return block ? block->blockId : nullptr;
}

bool VeriModule::HasGenericInterfacePorts() const {
    for (VeriTreeNode* port : ports) {
        auto* decl = dynamic_cast<VeriAnsiPortDecl*>(port);
        if (decl && decl->interfacePort && !decl->dataType) return true;
    }
    return false;
}

bool VeriModule::HasTypeParameters() const {
    for (VeriTreeNode* p : parameters) {
        if (auto* decl = dynamic_cast<VeriDataDecl*>(p)) {
            for (VeriIdDef* id : decl->ids) {
                if (id->IsType()) return true;
            }
        }
    }
    return false;
}

} // namespace hdl
