#include "hdl/elab/ElabDesign.h"

namespace hdl {

ElabUnitId ElabDesign::Add(ElabUnit unit) {
    units_.push_back(std::move(unit));
    return ElabUnitId(units_.size() - 1);
}

ElabUnitId ElabDesign::Unbound(const std::string& library, const std::string& name) {
    std::string key = library + "/" + name;
    auto it = unbound_.find(key);
    if (it != unbound_.end()) return it->second;
    ElabUnit u;
    u.language = ElabLanguage::Unbound;
    u.library = library;
    u.module = name;
    u.copyName = name;
    ElabUnitId id = Add(std::move(u));
    unbound_[key] = id;
    return id;
}

} // namespace hdl
