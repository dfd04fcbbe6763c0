#include "sift/bind/HADLInstFinder.h"

#include <cstdio>

#include "hdl/base/LineFile.h"
#include "hdl/vhdl/VhdlScope.h"
#include "hdl/vhdl/VhdlVisitor.h"
#include "sift/bind/HADLNodeCast.h"

namespace {

// `lib.unit` or `entity lib.unit(arch)` with a library written in front.
bool nameHasLibrary(const hdl::VhdlName* node) {
    auto* unit = hdl_cast::vhdlExactly<hdl::VhdlInstantiatedUnit>(node);
    if (!unit) return false;
    const hdl::VhdlName* name = unit->GetName();
    auto* selected = hdl_cast::vhdlExactly<hdl::VhdlSelectedName>(name);
    if (!selected) {
        // An architecture in parentheses: the prefix holds the selected name.
        if (auto* indexed = hdl_cast::vhdlExactly<hdl::VhdlIndexedName>(name))
            selected = hdl_cast::vhdlExactly<hdl::VhdlSelectedName>(indexed->prefix);
    }
    if (!selected) return false;
    auto* lib = hdl_cast::vhdlExactly<hdl::VhdlIdRef>(selected->prefix);
    return lib && !lib->Name().empty();
}

class Walker : public hdl::VhdlVisitor {
public:
    explicit Walker(std::unordered_map<const hdl::VhdlComponentInstantiationStatement*, uint8_t>& bits) : bits(bits) {}
    void Visit(hdl::VhdlComponentInstantiationStatement& node) override {
        uint8_t value = 0;
        if (node.IsUnitNameInactive()) value |= 1u << HADLInstFinder::Inactive;
        if (hdl::VhdlHasOverridableGenerics(node.GetInstantiatedUnit())) value |= 1u << HADLInstFinder::HasParam;
        if (nameHasLibrary(node.GetInstantiatedUnitNameNode())) value |= 1u << HADLInstFinder::NameHasLib;
        bits[&node] = value;
        hdl::VhdlVisitor::Visit(node);
    }
    std::unordered_map<const hdl::VhdlComponentInstantiationStatement*, uint8_t>& bits;
};

} // namespace

void HADLInstFinder::walk(hdl::VhdlTreeNode& unit) {
    Walker walker(bits);
    walker.TraverseNode(&unit);
}

bool HADLInstFinder::bit(const hdl::VhdlComponentInstantiationStatement& statement, Bit which) {
    const hdl::VhdlStatement* source = statement.GetSourceStatement();
    auto* key = source ? hdl_cast::vhdlExactly<hdl::VhdlComponentInstantiationStatement>(source) : &statement;
    auto it = bits.find(key ? key : &statement);
    if (it != bits.end()) return it->second & (1u << which);
    if (failures[which] < 49) {
        ++failures[which];
        const char* file = hdl::LineFile::GetFileName(&statement.Linefile());
        std::printf("FAILED to find entry for %s:%u\n", file ? file : "",
                    hdl::LineFile::GetLineNo(&statement.Linefile()));
    }
    return which == Inactive;
}
