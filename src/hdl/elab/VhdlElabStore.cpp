#include "hdl/elab/VhdlElabStore.h"

#include <cctype>
#include <memory>

#include "hdl/vhdl/VhdlLibrary.h"

namespace hdl {

namespace {

std::unique_ptr<Arena>& Store() {
    static std::unique_ptr<Arena> arena = std::make_unique<Arena>(1 << 20);
    return arena;
}

template <class Id>
Id* NewId(std::string_view spelling, VhdlTreeNode* declaration) {
    auto* id = VhdlElabStore::Nodes().make<Id>();
    id->origName = VhdlElabStore::Text(spelling);
    std::string lower(spelling);
    if (!(lower.size() > 1 && lower[0] == '\\'))
        for (char& c : lower) c = char(std::tolower(static_cast<unsigned char>(c)));
    id->name = lower == spelling ? id->origName : VhdlElabStore::Text(lower);
    id->declaration = declaration;
    return id;
}

} // namespace

Arena& VhdlElabStore::Nodes() { return *Store(); }

std::string_view VhdlElabStore::Text(std::string_view text) { return Nodes().copy(text); }

VhdlEntityDecl* VhdlElabStore::CopyEntity(const VhdlEntityDecl& original, const std::string& name) {
    VhdlLibrary* library = original.library;
    if (library) {
        if (auto* known = dynamic_cast<VhdlEntityDecl*>(library->GetPrimUnit(name.c_str(), true, false));
            known && known->GetOriginalUnitName() == (original.id ? original.id->OrigName() : std::string_view()))
            return known;
    }
    auto* copy = Nodes().make<VhdlEntityDecl>(original);
    copy->id = NewId<VhdlEntityId>(name, copy);
    copy->id->owningUnit = copy;
    copy->originalName = original.id ? original.id->OrigName() : std::string_view();
    copy->secondaryUnits = nullptr;
    copy->lastArchitecture = nullptr;
    if (library) library->AddPrimUnit(copy);
    return copy;
}

VhdlArchitectureBody* VhdlElabStore::CopyArchitecture(VhdlEntityDecl& copy, const VhdlArchitectureBody& arch) {
    std::string name(arch.id ? arch.id->OrigName() : std::string_view());
    if (auto* known = dynamic_cast<VhdlArchitectureBody*>(copy.GetSecondaryUnit(name.c_str()))) return known;
    auto* a = Nodes().make<VhdlArchitectureBody>(arch);
    a->id = NewId<VhdlArchitectureId>(name, a);
    a->id->owningUnit = a;
    a->library = copy.library;
    a->elaborated = false;
    a->elaboratedStatements = VhdlNodeList();
    copy.AddSecondaryUnit(a);
    return a;
}

void VhdlElabStore::Reset() { Store() = std::make_unique<Arena>(1 << 20); }

} // namespace hdl
