#include "hdl/sort/SortElement.h"

#include <algorithm>

namespace hdl {

void FileElement::declare(const std::string& name) {
    if (std::find(declaredNames.begin(), declaredNames.end(), name) == declaredNames.end())
        declaredNames.push_back(name);
}

namespace {

void settle(std::vector<SortReference>& records, const std::vector<bool>& keep) {
    size_t next = 0, out = 0;
    for (size_t k = 0; k < records.size(); ++k) {
        SortReference& r = records[k];
        if (r.flags & SORT_REF_CANDIDATE) {
            if (next >= keep.size() || !keep[next++]) continue;
            r.flags &= ~uint32_t(SORT_REF_CANDIDATE);
        }
        if (out != k) records[out] = std::move(r);
        ++out;
    }
    records.resize(out);
}

} // namespace

void FileElement::settleCandidates(const std::vector<bool>& keep) {
    std::vector<bool> unitKeep;
    // The unit records of all units together follow the order of `keep`.
    size_t next = 0;
    for (SortUnit& u : units) {
        unitKeep.clear();
        for (const SortReference& r : u.instances)
            if (r.flags & SORT_REF_CANDIDATE) unitKeep.push_back(next < keep.size() && keep[next++]);
        settle(u.instances, unitKeep);
    }
    settle(references, keep);
}

} // namespace hdl
