#include "hdl/vhdl/VhdlTree.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>

#include "hdl/vhdl/VhdlNames.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace hdl {

#define VHDL_ACCEPT_DEF(Class) \
    void Class::Accept(VhdlVisitor& v) { v.Visit(*this); }
VHDL_ACCEPT_DEF(VhdlIdDef)
VHDL_ACCEPT_DEF(VhdlIdRef)
VHDL_ACCEPT_DEF(VhdlSelectedName)
VHDL_ACCEPT_DEF(VhdlIndexedName)
VHDL_ACCEPT_DEF(VhdlSignature)
VHDL_ACCEPT_DEF(VhdlSignaturedName)
VHDL_ACCEPT_DEF(VhdlAttributeName)
VHDL_ACCEPT_DEF(VhdlExternalName)
VHDL_ACCEPT_DEF(VhdlInstantiatedUnit)
VHDL_ACCEPT_DEF(VhdlCharacterLiteral)
VHDL_ACCEPT_DEF(VhdlStringLiteral)
VHDL_ACCEPT_DEF(VhdlBitStringLiteral)
VHDL_ACCEPT_DEF(VhdlInteger)
VHDL_ACCEPT_DEF(VhdlReal)
VHDL_ACCEPT_DEF(VhdlPhysicalLiteral)
VHDL_ACCEPT_DEF(VhdlOperator)
VHDL_ACCEPT_DEF(VhdlRange)
VHDL_ACCEPT_DEF(VhdlAggregate)
VHDL_ACCEPT_DEF(VhdlElementAssoc)
VHDL_ACCEPT_DEF(VhdlAssocElement)
VHDL_ACCEPT_DEF(VhdlQualifiedExpression)
VHDL_ACCEPT_DEF(VhdlAllocator)
VHDL_ACCEPT_DEF(VhdlExplicitSubtypeIndication)
VHDL_ACCEPT_DEF(VhdlScalarTypeDef)
VHDL_ACCEPT_DEF(VhdlEnumerationTypeDef)
VHDL_ACCEPT_DEF(VhdlPhysicalUnitDecl)
VHDL_ACCEPT_DEF(VhdlPhysicalTypeDef)
VHDL_ACCEPT_DEF(VhdlArrayTypeDef)
VHDL_ACCEPT_DEF(VhdlElementDecl)
VHDL_ACCEPT_DEF(VhdlRecordTypeDef)
VHDL_ACCEPT_DEF(VhdlAccessTypeDef)
VHDL_ACCEPT_DEF(VhdlFileTypeDef)
VHDL_ACCEPT_DEF(VhdlProtectedTypeDef)
VHDL_ACCEPT_DEF(VhdlProtectedTypeDefBody)
VHDL_ACCEPT_DEF(VhdlFullTypeDecl)
VHDL_ACCEPT_DEF(VhdlIncompleteTypeDecl)
VHDL_ACCEPT_DEF(VhdlSubtypeDecl)
VHDL_ACCEPT_DEF(VhdlConstantDecl)
VHDL_ACCEPT_DEF(VhdlSignalDecl)
VHDL_ACCEPT_DEF(VhdlVariableDecl)
VHDL_ACCEPT_DEF(VhdlFileOpenInfo)
VHDL_ACCEPT_DEF(VhdlFileDecl)
VHDL_ACCEPT_DEF(VhdlAliasDecl)
VHDL_ACCEPT_DEF(VhdlAttributeDecl)
VHDL_ACCEPT_DEF(VhdlEntitySpec)
VHDL_ACCEPT_DEF(VhdlAttributeSpec)
VHDL_ACCEPT_DEF(VhdlEntityClassEntry)
VHDL_ACCEPT_DEF(VhdlGroupTemplateDecl)
VHDL_ACCEPT_DEF(VhdlGroupDecl)
VHDL_ACCEPT_DEF(VhdlInterfaceDecl)
VHDL_ACCEPT_DEF(VhdlInterfaceTypeDecl)
VHDL_ACCEPT_DEF(VhdlProcedureSpec)
VHDL_ACCEPT_DEF(VhdlFunctionSpec)
VHDL_ACCEPT_DEF(VhdlInterfaceSubprogDecl)
VHDL_ACCEPT_DEF(VhdlInterfacePackageDecl)
VHDL_ACCEPT_DEF(VhdlSubprogramDecl)
VHDL_ACCEPT_DEF(VhdlSubprogramBody)
VHDL_ACCEPT_DEF(VhdlSubprogInstantiationDecl)
VHDL_ACCEPT_DEF(VhdlComponentDecl)
VHDL_ACCEPT_DEF(VhdlDisconnectionSpec)
VHDL_ACCEPT_DEF(VhdlEntityAspect)
VHDL_ACCEPT_DEF(VhdlBindingIndication)
VHDL_ACCEPT_DEF(VhdlComponentSpec)
VHDL_ACCEPT_DEF(VhdlConfigurationSpec)
VHDL_ACCEPT_DEF(VhdlLibraryClause)
VHDL_ACCEPT_DEF(VhdlUseClause)
VHDL_ACCEPT_DEF(VhdlContextReference)
VHDL_ACCEPT_DEF(VhdlDelayMechanism)
VHDL_ACCEPT_DEF(VhdlWaveformElement)
VHDL_ACCEPT_DEF(VhdlConditionalWaveform)
VHDL_ACCEPT_DEF(VhdlSelectedWaveform)
VHDL_ACCEPT_DEF(VhdlConditionalExpression)
VHDL_ACCEPT_DEF(VhdlSelectedExpression)
VHDL_ACCEPT_DEF(VhdlProcessStatement)
VHDL_ACCEPT_DEF(VhdlBlockGenerics)
VHDL_ACCEPT_DEF(VhdlBlockPorts)
VHDL_ACCEPT_DEF(VhdlBlockStatement)
VHDL_ACCEPT_DEF(VhdlComponentInstantiationStatement)
VHDL_ACCEPT_DEF(VhdlForScheme)
VHDL_ACCEPT_DEF(VhdlWhileScheme)
VHDL_ACCEPT_DEF(VhdlIfScheme)
VHDL_ACCEPT_DEF(VhdlElsifElseScheme)
VHDL_ACCEPT_DEF(VhdlCaseItemScheme)
VHDL_ACCEPT_DEF(VhdlGenerateStatement)
VHDL_ACCEPT_DEF(VhdlIfElsifGenerateStatement)
VHDL_ACCEPT_DEF(VhdlCaseGenerateStatement)
VHDL_ACCEPT_DEF(VhdlConditionalSignalAssignment)
VHDL_ACCEPT_DEF(VhdlSelectedSignalAssignment)
VHDL_ACCEPT_DEF(VhdlProcedureCallStatement)
VHDL_ACCEPT_DEF(VhdlAssertionStatement)
VHDL_ACCEPT_DEF(VhdlReportStatement)
VHDL_ACCEPT_DEF(VhdlSignalAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlVariableAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlConditionalVariableAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlSelectedVariableAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlForceAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlConditionalForceAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlSelectedForceAssignment)
VHDL_ACCEPT_DEF(VhdlReleaseAssignmentStatement)
VHDL_ACCEPT_DEF(VhdlWaitStatement)
VHDL_ACCEPT_DEF(VhdlElsif)
VHDL_ACCEPT_DEF(VhdlIfStatement)
VHDL_ACCEPT_DEF(VhdlCaseStatementAlternative)
VHDL_ACCEPT_DEF(VhdlCaseStatement)
VHDL_ACCEPT_DEF(VhdlLoopStatement)
VHDL_ACCEPT_DEF(VhdlNextStatement)
VHDL_ACCEPT_DEF(VhdlExitStatement)
VHDL_ACCEPT_DEF(VhdlReturnStatement)
VHDL_ACCEPT_DEF(VhdlNullStatement)
VHDL_ACCEPT_DEF(VhdlBlockConfiguration)
VHDL_ACCEPT_DEF(VhdlComponentConfiguration)
VHDL_ACCEPT_DEF(VhdlEntityDecl)
VHDL_ACCEPT_DEF(VhdlPackageDecl)
VHDL_ACCEPT_DEF(VhdlPackageInstantiationDecl)
VHDL_ACCEPT_DEF(VhdlConfigurationDecl)
VHDL_ACCEPT_DEF(VhdlContextDecl)
VHDL_ACCEPT_DEF(VhdlArchitectureBody)
VHDL_ACCEPT_DEF(VhdlPackageBody)
VHDL_ACCEPT_DEF(VhdlEntityId)
VHDL_ACCEPT_DEF(VhdlArchitectureId)
VHDL_ACCEPT_DEF(VhdlPackageId)
VHDL_ACCEPT_DEF(VhdlPackageBodyId)
VHDL_ACCEPT_DEF(VhdlConfigurationId)
VHDL_ACCEPT_DEF(VhdlContextId)
VHDL_ACCEPT_DEF(VhdlComponentId)
VHDL_ACCEPT_DEF(VhdlLabelId)
VHDL_ACCEPT_DEF(VhdlBlockId)
VHDL_ACCEPT_DEF(VhdlInterfaceId)
VHDL_ACCEPT_DEF(VhdlSignalId)
VHDL_ACCEPT_DEF(VhdlVariableId)
VHDL_ACCEPT_DEF(VhdlConstantId)
VHDL_ACCEPT_DEF(VhdlFileId)
VHDL_ACCEPT_DEF(VhdlTypeId)
VHDL_ACCEPT_DEF(VhdlSubtypeId)
VHDL_ACCEPT_DEF(VhdlEnumerationId)
VHDL_ACCEPT_DEF(VhdlElementId)
VHDL_ACCEPT_DEF(VhdlAliasId)
VHDL_ACCEPT_DEF(VhdlAttributeId)
VHDL_ACCEPT_DEF(VhdlSubprogramId)
VHDL_ACCEPT_DEF(VhdlOperatorId)
VHDL_ACCEPT_DEF(VhdlLibraryId)
VHDL_ACCEPT_DEF(VhdlGroupId)
VHDL_ACCEPT_DEF(VhdlGroupTemplateId)
VHDL_ACCEPT_DEF(VhdlPhysicalUnitId)
VHDL_ACCEPT_DEF(VhdlProtectedTypeId)
VHDL_ACCEPT_DEF(VhdlProtectedTypeBodyId)
VHDL_ACCEPT_DEF(VhdlGenericTypeId)
VHDL_ACCEPT_DEF(VhdlAll)
VHDL_ACCEPT_DEF(VhdlOthers)
VHDL_ACCEPT_DEF(VhdlOpen)
VHDL_ACCEPT_DEF(VhdlNull)
VHDL_ACCEPT_DEF(VhdlBox)
VHDL_ACCEPT_DEF(VhdlUnaffected)
VHDL_ACCEPT_DEF(VhdlDefault)
#undef VHDL_ACCEPT_DEF

void VhdlVisitor::TraverseNode(VhdlTreeNode* node) {
    if (!node) return;
    PreVisit(*node);
    node->Accept(*this);
    PostVisit(*node);
}

void VhdlTraverse(VhdlVisitor& v, VhdlTreeNode* node) { v.TraverseNode(node); }

bool VhdlTreeNode::IsEqual(const VhdlTreeNode* other) const { return tree::NodesEqual(this, other); }

namespace {

// Value of digits in `base`, underscores skipped; saturates at LLONG_MAX.
long long DigitsValue(std::string_view digits, unsigned base, bool& overflow) {
    long long value = 0;
    for (char c : digits) {
        if (c == '_') continue;
        unsigned d = std::isdigit(static_cast<unsigned char>(c))
                         ? static_cast<unsigned>(c - '0')
                         : static_cast<unsigned>(std::tolower(static_cast<unsigned char>(c)) - 'a' + 10);
        if (d >= base) break;
        if (value > (LLONG_MAX - static_cast<long long>(d)) / static_cast<long long>(base)) {
            overflow = true;
            return LLONG_MAX;
        }
        value = value * base + d;
    }
    return value;
}

long long Exponent(std::string_view text, size_t at) {
    std::string e(text.substr(at + 1));
    e.erase(std::remove(e.begin(), e.end(), '_'), e.end());
    return std::strtoll(e.c_str(), nullptr, 10);
}

} // namespace

long long VhdlInteger::GetValue() const {
    bool overflow = false;
    size_t hash = text.find_first_of("#:");
    long long mantissa;
    size_t expAt;
    if (hash != std::string_view::npos) {
        long long base = DigitsValue(text.substr(0, hash), 10, overflow);
        if (base < 2 || base > 16) return 0;
        size_t close = text.find_first_of("#:", hash + 1);
        if (close == std::string_view::npos) return 0;
        mantissa = DigitsValue(text.substr(hash + 1, close - hash - 1), static_cast<unsigned>(base), overflow);
        expAt = text.find_first_of("eE", close);
        if (expAt != std::string_view::npos) {
            for (long long e = Exponent(text, expAt); e > 0 && !overflow; --e) {
                if (mantissa > LLONG_MAX / base) overflow = true;
                else mantissa *= base;
            }
        }
    } else {
        expAt = text.find_first_of("eE");
        mantissa = DigitsValue(text.substr(0, expAt), 10, overflow);
        if (expAt != std::string_view::npos) {
            for (long long e = Exponent(text, expAt); e > 0 && !overflow; --e) {
                if (mantissa > LLONG_MAX / 10) overflow = true;
                else mantissa *= 10;
            }
        }
    }
    return overflow ? LLONG_MAX : mantissa;
}

double VhdlReal::GetValue() const {
    std::string t;
    for (char c : text)
        if (c != '_') t += c;
    size_t hash = t.find_first_of("#:");
    if (hash == std::string::npos) return std::strtod(t.c_str(), nullptr);
    int base = std::atoi(t.substr(0, hash).c_str());
    if (base < 2 || base > 16) return 0;
    size_t close = t.find_first_of("#:", hash + 1);
    if (close == std::string::npos) return 0;
    double value = 0, scale = 0;
    for (size_t i = hash + 1; i < close; ++i) {
        char c = t[i];
        if (c == '.') {
            scale = 1;
            continue;
        }
        int d = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                                                            : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10;
        value = value * base + d;
        if (scale != 0) scale *= base;
    }
    if (scale != 0) value /= scale;
    size_t e = t.find_first_of("eE", close);
    if (e != std::string::npos) value *= std::pow(base, std::atof(t.c_str() + e + 1));
    return value;
}

namespace {

bool SameName(std::string_view a, const char* b) {
    size_t n = std::char_traits<char>::length(b);
    if (a.size() != n) return false;
    for (size_t i = 0; i < n; ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

} // namespace

VhdlSecondaryUnit* VhdlPrimaryUnit::GetSecondaryUnit(const char* name) const {
    RestorePending();
    if (!secondaryUnits) return nullptr;
    if (!name) {
        if (lastArchitecture) return lastArchitecture;
        return secondaryUnits->empty() ? nullptr : secondaryUnits->back();
    }
    for (VhdlSecondaryUnit* unit : *secondaryUnits) {
        if (unit->id && SameName(unit->id->OrigName(), name)) return unit;
    }
    return nullptr;
}

VhdlSecondaryUnit* VhdlPrimaryUnit::AddSecondaryUnit(VhdlSecondaryUnit* unit) {
    RestorePending(); // so that the new unit comes after them, or replaces one
    VhdlSecondaryUnit* replaced = nullptr;
    if (secondaryUnits) {
        for (auto& old : *secondaryUnits) {
            if (old->GetClassId() == unit->GetClassId() && VhdlSameId(old->Name(), unit->Name())) {
                replaced = old;
                old = unit;
                break;
            }
        }
        if (!replaced) secondaryUnits->push_back(unit);
    }
    if (unit->GetClassId() == VhdlArchitectureBody::kClassId) lastArchitecture = unit;
    return replaced;
}

} // namespace hdl
