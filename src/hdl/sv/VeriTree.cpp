#include "hdl/sv/VeriTree.h"

#include "hdl/sv/VeriTokens.h"
#include "hdl/sv/VeriVisitor.h"

namespace hdl {

bool VeriScope::declare(std::string_view name, VeriIdDef* id) {
    if (name.empty() || !id) return false;
    auto inserted = ids_.emplace(name, id);
    if (!inserted.second) return false;
    order_.push_back(id);
    return true;
}

VeriIdDef* VeriScope::findLocal(std::string_view name) const {
    auto it = ids_.find(name);
    return it == ids_.end() ? nullptr : it->second;
}

VeriModule* VeriScope::GetContainingModule() const {
    for (const VeriScope* s = this; s; s = s->upper_) {
        if (auto* m = dynamic_cast<VeriModule*>(s->owner_)) return m;
    }
    return nullptr;
}

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
void VeriSeqBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
void VeriParBlock::Accept(VeriVisitor& v) { v.Visit(*this); }
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

// Children in source order.
void VeriIndexedId::WalkChildren(VeriVisitor& v) { v.TraverseNode(prefix); v.TraverseNode(index); }
void VeriIndexedMemoryId::WalkChildren(VeriVisitor& v) { v.TraverseNode(prefix); v.TraverseArray(indexes); }
void VeriSelectedName::WalkChildren(VeriVisitor& v) { v.TraverseNode(prefix); }
void VeriScopeName::WalkChildren(VeriVisitor& v) { v.TraverseNode(prefix); v.TraverseArray(paramValues); }
void VeriUnaryOperator::WalkChildren(VeriVisitor& v) { v.TraverseNode(arg); }
void VeriBinaryOperator::WalkChildren(VeriVisitor& v) { v.TraverseNode(left); v.TraverseNode(right); }
void VeriQuestionColon::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(cond);
    v.TraverseNode(thenExpr);
    v.TraverseNode(elseExpr);
}
void VeriConcat::WalkChildren(VeriVisitor& v) { v.TraverseArray(exprs); }
void VeriMultiConcat::WalkChildren(VeriVisitor& v) { v.TraverseNode(repeat); v.TraverseArray(exprs); }
void VeriStreamingConcat::WalkChildren(VeriVisitor& v) { v.TraverseNode(sliceSize); v.TraverseArray(exprs); }
void VeriFunctionCall::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(func);
    v.TraverseArray(args);
    v.TraverseNode(with);
}
void VeriSystemFunctionCall::WalkChildren(VeriVisitor& v) { v.TraverseArray(args); }
void VeriMinTypMaxExpr::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(minExpr);
    v.TraverseNode(typExpr);
    v.TraverseNode(maxExpr);
}
void VeriAssignmentPattern::WalkChildren(VeriVisitor& v) { v.TraverseNode(type); v.TraverseArray(exprs); }
void VeriMultiAssignmentPattern::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(type);
    v.TraverseNode(repeat);
    v.TraverseArray(exprs);
}
void VeriCast::WalkChildren(VeriVisitor& v) { v.TraverseNode(target); v.TraverseNode(expr); }
void VeriNew::WalkChildren(VeriVisitor& v) { v.TraverseNode(size); v.TraverseArray(args); }
void VeriPortConnect::WalkChildren(VeriVisitor& v) { v.TraverseNode(connection); }
void VeriEventExpression::WalkChildren(VeriVisitor& v) { v.TraverseNode(expr); v.TraverseNode(iffCond); }
void VeriRange::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(left);
    v.TraverseNode(right);
    v.TraverseNode(next);
}
void VeriTypeOperator::WalkChildren(VeriVisitor& v) { v.TraverseNode(arg); }
void VeriTaggedUnion::WalkChildren(VeriVisitor& v) { v.TraverseNode(expr); }
void VeriDataType::WalkChildren(VeriVisitor& v) { v.TraverseNode(dimensions); }
void VeriTypeRef::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(typeName);
    v.TraverseArray(paramValues);
    v.TraverseNode(dimensions);
}
void VeriStructUnion::WalkChildren(VeriVisitor& v) { v.TraverseArray(members); v.TraverseNode(dimensions); }
void VeriEnum::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(baseType);
    v.TraverseArray(literals);
    v.TraverseNode(dimensions);
}
void VeriNetDataType::WalkChildren(VeriVisitor& v) { v.TraverseNode(dataType); }
void VeriDelayOrEventControl::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(repeat);
    v.TraverseArray(delays);
    v.TraverseArray(events);
}
void VeriVariable::WalkChildren(VeriVisitor& v) { v.TraverseNode(dimensions); v.TraverseNode(initialValue); }
void VeriParamId::WalkChildren(VeriVisitor& v) { v.TraverseNode(dimensions); v.TraverseNode(initialValue); }
void VeriInstId::WalkChildren(VeriVisitor& v) { v.TraverseNode(dimensions); v.TraverseArray(portConnects); }
void VeriPrototypeId::WalkChildren(VeriVisitor& v) { v.TraverseNode(expr); }
void VeriAnsiPortDecl::WalkChildren(VeriVisitor& v) { v.TraverseNode(dataType); v.TraverseArray(ids); }
void VeriNetRegAssign::WalkChildren(VeriVisitor& v) { v.TraverseNode(lval); v.TraverseNode(rval); }
void VeriDefParamAssign::WalkChildren(VeriVisitor& v) { v.TraverseNode(lval); v.TraverseNode(rval); }
void VeriDataDecl::WalkChildren(VeriVisitor& v) { v.TraverseNode(dataType); v.TraverseArray(ids); }
void VeriNetDecl::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(strength);
    v.TraverseNode(dataType);
    v.TraverseArray(delays);
    v.TraverseArray(ids);
}
void VeriModuleInstantiation::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(moduleName);
    v.TraverseNode(strength);
    v.TraverseArray(paramValues);
    v.TraverseArray(instances);
}
void VeriGateInstantiation::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(strength);
    v.TraverseArray(delays);
    v.TraverseArray(instances);
}
void VeriContinuousAssign::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(strength);
    v.TraverseNode(delay);
    v.TraverseArray(assigns);
}
void VeriAlwaysConstruct::WalkChildren(VeriVisitor& v) { v.TraverseNode(stmt); }
void VeriInitialConstruct::WalkChildren(VeriVisitor& v) { v.TraverseNode(stmt); }
void VeriGenerateConstruct::WalkChildren(VeriVisitor& v) { v.TraverseArray(items); }
void VeriGenerateFor::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(genvarDecl);
    v.TraverseNode(init);
    v.TraverseNode(cond);
    v.TraverseNode(rep);
    v.TraverseNode(item);
}
void VeriGenerateConditional::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(cond);
    v.TraverseNode(thenItem);
    v.TraverseNode(elseItem);
}
void VeriGenerateCaseItem::WalkChildren(VeriVisitor& v) { v.TraverseArray(conditions); v.TraverseNode(item); }
void VeriGenerateCase::WalkChildren(VeriVisitor& v) { v.TraverseNode(cond); v.TraverseArray(items); }
void VeriGenerateBlock::WalkChildren(VeriVisitor& v) { v.TraverseNode(blockId); v.TraverseArray(items); }
void VeriFunctionDecl::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(returnType);
    v.TraverseNode(prefix);
    v.TraverseNode(id);
    v.TraverseArray(ports);
    v.TraverseArray(decls);
    v.TraverseArray(stmts);
}
void VeriDefParam::WalkChildren(VeriVisitor& v) { v.TraverseArray(assigns); }
void VeriModportDecl::WalkChildren(VeriVisitor& v) { v.TraverseNode(id); v.TraverseArray(ports); }
void VeriModport::WalkChildren(VeriVisitor& v) { v.TraverseArray(decls); }
void VeriImportDecl::WalkChildren(VeriVisitor& v) { v.TraverseArray(items); }
void VeriExportDecl::WalkChildren(VeriVisitor& v) { v.TraverseArray(items); }
void VeriSkippedItem::WalkChildren(VeriVisitor& v) { v.TraverseNode(id); v.TraverseArray(items); }
void VeriBindDirective::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(target);
    v.TraverseArray(targetInstances);
    v.TraverseNode(instantiation);
}
void VeriNetAlias::WalkChildren(VeriVisitor& v) { v.TraverseArray(members); }
void VeriModule::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(id);
    v.TraverseArray(parameters);
    v.TraverseArray(ports);
    v.TraverseArray(items);
}
void VeriConfiguration::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(id);
    v.TraverseArray(designCells);
    v.TraverseArray(items);
}
void VeriSeqBlock::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(blockId);
    v.TraverseArray(decls);
    v.TraverseArray(stmts);
}
void VeriBlockingAssign::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(lval);
    v.TraverseNode(control);
    v.TraverseNode(rval);
}
void VeriNonBlockingAssign::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(lval);
    v.TraverseNode(control);
    v.TraverseNode(rval);
}
void VeriConditionalStatement::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(cond);
    v.TraverseNode(thenStmt);
    v.TraverseNode(elseStmt);
}
void VeriCaseItem::WalkChildren(VeriVisitor& v) { v.TraverseArray(conditions); v.TraverseNode(stmt); }
void VeriCaseStatement::WalkChildren(VeriVisitor& v) { v.TraverseNode(cond); v.TraverseArray(items); }
void VeriFor::WalkChildren(VeriVisitor& v) {
    v.TraverseArray(inits);
    v.TraverseNode(cond);
    v.TraverseArray(reps);
    v.TraverseNode(stmt);
}
void VeriWhile::WalkChildren(VeriVisitor& v) { v.TraverseNode(cond); v.TraverseNode(stmt); }
void VeriDoWhile::WalkChildren(VeriVisitor& v) { v.TraverseNode(stmt); v.TraverseNode(cond); }
void VeriRepeat::WalkChildren(VeriVisitor& v) { v.TraverseNode(count); v.TraverseNode(stmt); }
void VeriForever::WalkChildren(VeriVisitor& v) { v.TraverseNode(stmt); }
void VeriForeach::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(array);
    v.TraverseArray(loopVars);
    v.TraverseNode(stmt);
}
void VeriEventControlStatement::WalkChildren(VeriVisitor& v) { v.TraverseNode(control); v.TraverseNode(stmt); }
void VeriDelayControlStatement::WalkChildren(VeriVisitor& v) { v.TraverseNode(control); v.TraverseNode(stmt); }
void VeriTaskEnable::WalkChildren(VeriVisitor& v) { v.TraverseNode(call); }
void VeriSystemTaskEnable::WalkChildren(VeriVisitor& v) { v.TraverseArray(args); }
void VeriJumpStatement::WalkChildren(VeriVisitor& v) { v.TraverseNode(expr); }
void VeriWait::WalkChildren(VeriVisitor& v) { v.TraverseNode(cond); v.TraverseNode(stmt); }
void VeriDisable::WalkChildren(VeriVisitor& v) { v.TraverseNode(target); }
void VeriEventTrigger::WalkChildren(VeriVisitor& v) { v.TraverseNode(control); v.TraverseNode(event); }
void VeriAssign::WalkChildren(VeriVisitor& v) { v.TraverseNode(assign); }
void VeriDeAssign::WalkChildren(VeriVisitor& v) { v.TraverseNode(lval); }
void VeriAssertion::WalkChildren(VeriVisitor& v) {
    v.TraverseNode(expr);
    v.TraverseNode(thenStmt);
    v.TraverseNode(elseStmt);
}

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
