#include "hdl/sort/VhdlVisibility.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "hdl/base/Language.h"
#include "hdl/vhdl/VhdlNames.h"
#include "hdl/vhdl/VhdlTokens.h"

namespace hdl {

namespace {

char lowerChar(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = lowerChar(c);
    return out;
}

// Identifiers as VHDL compares them, whatever case the names were kept in.
std::string idKey(std::string_view name) { return VhdlCaseCounts(name) ? std::string(name) : lower(name); }

// A place in a file: the uses in [from, to) of the element are in effect there.
struct Region {
    const FileElement* element = nullptr;
    uint32_t from = 0;
    uint32_t to = 0;
};

class Deciding {
public:
    explicit Deciding(const std::vector<std::unique_ptr<FileElement>>& elements) {
        for (const auto& owned : elements) {
            const FileElement& e = *owned;
            if (!IsVhdlLanguage(e.language)) continue;
            std::string lib = lower(e.libraryName);
            for (const VhdlVisibility::Component& c : e.vhdl.components)
                if (c.inPackage && c.unit < e.units.size())
                    packageComponents_[key(lib, e.units[c.unit].name)].insert(idKey(c.name));
            const auto& starts = e.vhdl.starts;
            for (size_t k = 0; k < starts.size(); ++k) {
                if (starts[k].kind == VHDL_ENTITY)
                    entities_.emplace(key(lib, starts[k].name), Region{&e, 0, starts[k].at});
                else if (starts[k].kind == VHDL_CONTEXT)
                    contexts_.emplace(key(lib, starts[k].name),
                                      Region{&e, starts[k].at, k + 1 < starts.size() ? starts[k + 1].at : UINT32_MAX});
            }
        }
    }

    bool isInstance(const FileElement& e, const VhdlVisibility::Candidate& c) {
        std::string name = idKey(c.name);
        std::string lib = lower(e.libraryName);
        if (!c.package.empty()) {
            std::string from = c.library.empty() || lower(c.library) == "work" ? lib : lower(c.library);
            return declares(key(from, c.package), name, "all");
        }
        for (const VhdlVisibility::Component& d : e.vhdl.components)
            if (d.unit == c.unit && d.at < c.at && idKey(d.name) == name) return true;
        seenContexts_.clear();
        if (visibleIn(Region{&e, 0, c.at}, name)) return true;
        auto entity = entities_.find(key(lib, c.entity));
        return entity != entities_.end() && visibleIn(entity->second, name);
    }

private:
    static std::string key(const std::string& lib, std::string_view unit) { return lib + '\n' + idKey(unit); }

    bool declares(const std::string& package, const std::string& name, const std::string& item) const {
        auto p = packageComponents_.find(package);
        return p != packageComponents_.end() && p->second.count(name) && (item == "all" || idKey(item) == name);
    }

    // Whether the uses in effect in `region` make a component `name` visible.
    bool visibleIn(const Region& region, const std::string& name) {
        std::string own = lower(region.element->libraryName);
        for (const VhdlVisibility::Use& u : region.element->vhdl.uses) {
            if (u.at < region.from || u.at >= region.to) continue;
            std::string lib = lower(u.library);
            if (lib == "work") lib = own;
            std::string unit = key(lib, u.unit);
            if (!u.context) {
                if (declares(unit, name, u.item)) return true;
                continue;
            }
            auto context = contexts_.find(unit);
            // A context that names itself, directly or not, is read once.
            if (context != contexts_.end() && seenContexts_.insert(unit).second && visibleIn(context->second, name))
                return true;
        }
        return false;
    }

    // "library\nunit" keys, libraries in lower case, units as identifiers compare.
    std::unordered_map<std::string, std::unordered_set<std::string>> packageComponents_;
    std::unordered_map<std::string, Region> entities_;
    std::unordered_map<std::string, Region> contexts_;
    std::unordered_set<std::string> seenContexts_;
};

} // namespace

void decideVhdlCandidates(const std::vector<std::unique_ptr<FileElement>>& elements) {
    bool any = false;
    for (const auto& e : elements) any = any || !e->vhdl.candidates.empty();
    if (any) {
        Deciding deciding(elements);
        for (const auto& owned : elements) {
            FileElement& e = *owned;
            if (e.vhdl.candidates.empty()) continue;
            std::vector<bool> keep;
            for (const VhdlVisibility::Candidate& c : e.vhdl.candidates) keep.push_back(deciding.isInstance(e, c));
            e.settleCandidates(keep);
        }
    }
    // What is visible stays, for files registered after this.
    for (const auto& e : elements) e->vhdl.candidates.clear();
}

} // namespace hdl
