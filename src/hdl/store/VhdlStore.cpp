#include "hdl/store/VhdlStore.h"

#include <cstdio>
#include <memory>

#include "hdl/base/Message.h"
#include "hdl/store/StoreDirectories.h"
#include "hdl/store/StoreSaverBase.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlResolver.h"

namespace hdl {

namespace {

class VhdlSaver;
class VhdlLoader;

// The VHDL tree as the store sees it: nodes with their fields and Links(), no extras,
// no scopes; a file holds a primary unit with its secondary units.
struct Vhdl {
    using Node = VhdlTreeNode;
    using TreeTraits = VhdlTreeTraits;
    using Scope = store::NoScope;
    using Library = VhdlLibrary;
    using Unit = VhdlPrimaryUnit;
    using Saver = VhdlSaver;
    using Loader = VhdlLoader;
    static constexpr uint32_t kFormat = 2;

    static const std::string& LibraryName(const VhdlLibrary& library) { return library.Name(); }
    static void AddCodecs(std::vector<store::ClassCodec<Vhdl>>& v) {
#define VHDL_STORE_CODEC(Class, Base) store::AddCodec<Vhdl, Class>(v);
        VHDL_CLASSES(VHDL_STORE_CODEC)
#undef VHDL_STORE_CODEC
    }
    static void ExtraChildren(VhdlTreeNode&, std::vector<VhdlTreeNode*>&) {}
    static uint64_t PrintExtras(VhdlTreeNode&, uint64_t h) { return h; }
    template <class F>
    static constexpr uint64_t OwnKindTag() {
        static_assert(sizeof(F) == 0, "a member kind that saved libraries cannot hold");
        return 0;
    }
};

std::string KeyOf(std::string_view name) {
    std::string key(name);
    if (!(key.size() > 1 && key[0] == '\\'))
        for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
}

// Where a design unit stands: its library, its primary unit and, for a secondary unit,
// its own name.
struct UnitPlace {
    std::string library;
    std::string primary;
    std::string secondary; // empty for a primary unit

    std::string text() const { return library + "." + primary + (secondary.empty() ? "" : "(" + secondary + ")"); }
};

// Throws when the unit is not (or no longer) in its library.
UnitPlace PlaceOf(VhdlDesignUnit* unit) {
    VhdlLibrary* lib = unit->GetOwningLib();
    if (!lib) throw StoreError("a link leads to unit '" + std::string(unit->Name()) + "', which is in no library");
    if (auto* primary = dynamic_cast<VhdlPrimaryUnit*>(unit)) {
        if (lib->GetPrimUnit(std::string(primary->Name()).c_str(), false) != primary)
            throw StoreError("a link leads to unit '" + std::string(unit->Name()) + "' of library '" + lib->Name() +
                             "', which a later analysis replaced");
        return {lib->Name(), std::string(primary->Name()), ""};
    }
    for (VhdlPrimaryUnit* primary : lib->PrimaryUnits())
        for (VhdlSecondaryUnit* secondary : primary->GetSecondaryUnits())
            if (secondary == unit) return {lib->Name(), std::string(primary->Name()), std::string(unit->Name())};
    throw StoreError("a link leads to secondary unit '" + std::string(unit->Name()) + "' of library '" + lib->Name() +
                     "', which a later analysis replaced");
}

// An extern: 0, a node of dependency `a` at place `b` of its walk; 1, the implicit
// library identifier named by string `a`.
constexpr uint32_t kUnitNode = 0;
constexpr uint32_t kLibraryId = 1;

// ---------------------------------------------------------------- saving

class VhdlSaver : public store::SaverBase<Vhdl> {
public:
    explicit VhdlSaver(VhdlPrimaryUnit& unit) : unit_(unit) {}

    std::string run() {
        // A copy shares its subtrees with its original; elaboration makes it again.
        if (!unit_.GetOriginalUnitName().empty())
            throw StoreError("it is a copy that elaboration made of unit '" + std::string(unit_.GetOriginalUnitName()) +
                             "'; copies are not saved");
        std::vector<VhdlDesignUnit*> units{&unit_};
        for (VhdlSecondaryUnit* s : unit_.GetSecondaryUnits()) units.push_back(s);
        std::vector<uint32_t> roots;
        for (VhdlDesignUnit* u : units) {
            roots.push_back(static_cast<uint32_t>(nodes_.size()));
            addNodes(walkOf(u));
        }
        const SourceLineMap protectedLines = Message::GetSourceLineMap();
        for (VhdlTreeNode* n : nodes_) {
            position(*n, protectedLines);
            store::CodecOf<Vhdl>(n->GetClassId()).save(*this, *n);
        }
        // Everything named by the records is known now: the tables go first.
        std::vector<uint32_t> depNames;
        for (const Dep& d : deps_) {
            depNames.push_back(string(d.place.library));
            depNames.push_back(string(d.place.primary));
            depNames.push_back(d.place.secondary.empty() ? 0 : string(d.place.secondary) + 1);
        }
        StoreWriter head;
        writeNames(head, unit_.GetOwningLib() ? unit_.GetOwningLib()->Name() : "", unit_.Name());
        head.u64(deps_.size());
        for (size_t i = 0; i < deps_.size(); ++i) {
            for (size_t k = 0; k < 3; ++k) head.u64(depNames[3 * i + k]);
            head.u64(deps_[i].fingerprint);
        }
        head.u64(externs_.size());
        for (const Extern& e : externs_) {
            head.u64(e.kind);
            head.u64(e.a);
            if (e.kind == kUnitNode) head.u64(e.b);
        }
        writeNodeClasses(head);
        head.u64(roots.size());
        for (uint32_t r : roots) head.u64(r);
        for (VhdlDesignUnit* u : units) head.u64(walkOf(u).fingerprint);
        return head.data() + records_.data();
    }

    template <class F>
    void ownField(F&) {
        static_assert(sizeof(F) == 0, "a member kind that saved libraries cannot hold");
    }

    uint32_t externOf(VhdlTreeNode* target) {
        return externEntry(target, [&] {
            externs_.push_back(newExtern(target));
            return static_cast<uint32_t>(externs_.size() - 1);
        });
    }

private:
    struct Dep {
        UnitPlace place;
        uint64_t fingerprint;
    };
    struct Extern {
        uint32_t kind;
        uint32_t a;
        uint32_t b;
    };

    Extern newExtern(VhdlTreeNode* target) {
        // A unit itself, or a declaration in the unit resolution says holds it.
        VhdlDesignUnit* owner = dynamic_cast<VhdlDesignUnit*>(target);
        if (!owner)
            if (auto* id = dynamic_cast<VhdlIdDef*>(target)) owner = id->owningUnit;
        if (owner) {
            uint32_t place = walkOf(owner).placeOf(target);
            if (place != UINT32_MAX) return {kUnitNode, depOf(owner), place};
        }
        if (target->GetClassId() == VhdlLibraryId::kClassId) {
            auto* id = static_cast<VhdlIdDef*>(target);
            std::string key = KeyOf(id->OrigName());
            if (VhdlImplicitLibraryId(key) == target) return {kLibraryId, string(key), 0};
        }
        // Anything else: search every unit of every library.
        for (VhdlLibrary* lib : vhdl_file::AllLibraries()) {
            for (VhdlPrimaryUnit* p : lib->PrimaryUnits()) {
                std::vector<VhdlDesignUnit*> units{p};
                for (VhdlSecondaryUnit* s : p->GetSecondaryUnits()) units.push_back(s);
                for (VhdlDesignUnit* u : units) {
                    uint32_t place = walkOf(u).placeOf(target);
                    if (place != UINT32_MAX) return {kUnitNode, depOf(u), place};
                }
            }
        }
        char cls[16];
        std::snprintf(cls, sizeof cls, "%08x", target->GetClassId());
        throw StoreError(std::string("a link leads out of every library unit, to a node of class ") + cls);
    }
    uint32_t depOf(VhdlDesignUnit* unit) {
        auto it = depIds_.find(unit);
        if (it != depIds_.end()) return it->second;
        deps_.push_back({PlaceOf(unit), walkOf(unit).fingerprint});
        return depIds_[unit] = static_cast<uint32_t>(deps_.size() - 1);
    }

    VhdlPrimaryUnit& unit_;
    std::vector<Dep> deps_;
    std::unordered_map<VhdlDesignUnit*, uint32_t> depIds_;
    std::vector<Extern> externs_;
};

// ---------------------------------------------------------------- loading

// A file's secondary units are read with their primary unit when its records lead into
// them, else when they are first asked for (VhdlPendingUnits): a design that uses a
// package rarely needs its body.
class VhdlLoader : public store::LoaderBase<Vhdl>, public VhdlPendingUnits {
public:
    VhdlLoader(VhdlLibrary& library, const std::string& key, std::string_view payload, store::Session<Vhdl>& session,
               const std::string& origin)
        : LoaderBase(payload, vhdl_file::NewTreeArena(), session), library_(library), key_(key), origin_(origin) {}

    VhdlPrimaryUnit* run() {
        readTables();
        watchFrom_ = secondaryStart_;
        readRecords(secondaryStart_, [](VhdlTreeNode&) {});
        pending_ = secondaryStart_ < nodes_.size() && !reachedWatched_;
        watchFrom_ = SIZE_MAX;
        if (pending_) {
            // The file goes away: what is left of it is kept.
            rest_ = in_.rest();
            in_ = StoreReader(rest_);
        } else {
            readSecondaries();
        }
        // Registered before the links out are followed, so that a unit that leads back
        // to this one finds it.
        session_.loading.push_back({&library_, key_, primary_, units_});
        struct Pop {
            store::Session<Vhdl>& s;
            ~Pop() { s.loading.pop_back(); }
        } pop{session_};
        resolveExterns();
        linkOut();
        library_.AddPrimUnit(primary_);
        if (!pending_) addSecondaries();
        return primary_;
    }

    // Whether the secondary units are left for Restore.
    bool pending() const { return pending_; }

    void Restore() override {
        if (!pending_) return;
        pending_ = false;
        try {
            readSecondaries();
            linkOut();
            addSecondaries();
        } catch (const StoreError& e) {
            // The secondary units stay absent, and a use of them is reported as usual.
            ColLineFile loc = LineFile::StartOf(origin_);
            Message::Tell<vhdl_msg::StoreCannotRestore>(origin_.empty() ? nullptr : &loc, key_.c_str(),
                                                        library_.Name().c_str(), origin_.c_str(), e.what());
        }
        rest_ = std::string();
    }

    template <class F>
    void ownField(F&) {
        static_assert(sizeof(F) == 0, "a member kind that saved libraries cannot hold");
    }

    bool isNodeExtern(uint64_t e) const { return e < externTable_.size(); }

private:
    struct ExternEntry {
        uint32_t kind;
        uint32_t a;
        uint32_t b;
    };
    struct DepEntry {
        UnitPlace place;
        uint64_t fingerprint;
    };

    void readSecondaries() {
        readRecords(nodes_.size(), [](VhdlTreeNode&) {});
        if (!in_.atEnd()) throw StoreError("the file has bytes after its last node");
    }

    void addSecondaries() {
        VhdlSecondaryUnit* lastArchitecture = primary_->lastArchitecture;
        for (size_t u = 1; u < units_.size(); ++u) {
            auto* secondary = static_cast<VhdlSecondaryUnit*>(units_[u]);
            secondary->library = &library_;
            primary_->AddSecondaryUnit(secondary);
        }
        primary_->lastArchitecture = lastArchitecture;
    }

    void readTables() {
        std::string_view name = readNames().second;
        if (KeyOf(name) != key_)
            throw StoreError("the file holds unit '" + std::string(name) + "', not '" + key_ + "'");
        deps_.resize(in_.count("dependency count"));
        for (DepEntry& d : deps_) {
            d.place.library = stringAt("dependency");
            d.place.primary = stringAt("dependency");
            uint64_t secondary = in_.below(strings_.size() + 1, "dependency");
            if (secondary) d.place.secondary = strings_[secondary - 1];
            d.fingerprint = in_.u64();
        }
        externTable_.resize(in_.count("extern count"));
        for (ExternEntry& e : externTable_) {
            e.kind = static_cast<uint32_t>(in_.below(2, "extern kind"));
            if (e.kind == kUnitNode) {
                e.a = static_cast<uint32_t>(in_.below(deps_.size(), "dependency"));
                e.b = static_cast<uint32_t>(in_.below(UINT32_MAX, "place"));
            } else {
                e.a = static_cast<uint32_t>(in_.below(strings_.size(), "library name"));
            }
        }
        readNodeClasses();
        const uint64_t unitCount = in_.count("unit count");
        if (unitCount == 0) throw StoreError("the file holds no unit");
        std::vector<uint32_t> roots(unitCount);
        for (uint32_t& r : roots) r = static_cast<uint32_t>(in_.below(nodes_.size(), "unit root"));
        for (size_t u = 0; u < roots.size(); ++u) {
            if ((u == 0 && roots[0] != 0) || (u > 0 && roots[u] <= roots[u - 1]))
                throw StoreError("the units are out of order");
            auto* unit = dynamic_cast<VhdlDesignUnit*>(node(roots[u]));
            const bool primary = dynamic_cast<VhdlPrimaryUnit*>(unit) != nullptr;
            if (!unit || primary != (u == 0)) throw StoreError("a unit of the wrong kind");
            units_.push_back(unit);
            for (size_t i = roots[u]; i < nodes_.size(); ++i) unitOf_[i] = static_cast<uint32_t>(u);
        }
        primary_ = static_cast<VhdlPrimaryUnit*>(units_[0]);
        secondaryStart_ = roots.size() > 1 ? roots[1] : nodes_.size();
        for (size_t u = 0; u < roots.size(); ++u) in_.u64(); // the units' own fingerprints
        for (uint32_t r : roots) depth_[r] = 1;
    }

    // The units this one links to, looked up (restored when need be) and checked
    // against the fingerprints they had when this one was saved.
    void resolveExterns() {
        std::vector<VhdlTreeNode*> depUnits(deps_.size(), nullptr);
        externs_.resize(externTable_.size());
        for (size_t i = 0; i < externTable_.size(); ++i) {
            const ExternEntry& e = externTable_[i];
            if (e.kind == kLibraryId) {
                externs_[i] = VhdlImplicitLibraryId(KeyOf(strings_[e.a]));
                continue;
            }
            VhdlTreeNode*& unit = depUnits[e.a];
            if (!unit) unit = checked(findDep(deps_[e.a].place), deps_[e.a].place.text(), deps_[e.a].fingerprint);
            store::Walk<Vhdl>& w = session_.walkOf(unit);
            if (e.b >= w.order.size()) throw StoreError("a link out of range");
            externs_[i] = w.order[e.b];
        }
    }

    // A unit being restored now, or one its library holds (restored first when need be).
    VhdlDesignUnit* findDep(const UnitPlace& place) {
        const auto* loading = session_.loadingOf(KeyOf(place.library), KeyOf(place.primary));
        VhdlPrimaryUnit* primary = loading ? loading->unit : nullptr;
        if (!primary) {
            VhdlLibrary* lib = vhdl_file::GetLibrary(place.library.c_str());
            primary = lib ? lib->GetPrimUnit(place.primary.c_str()) : nullptr;
        }
        if (!primary || place.secondary.empty()) return primary;
        if (loading)
            for (VhdlTreeNode* u : loading->units)
                if (u != primary && KeyOf(static_cast<VhdlDesignUnit*>(u)->Name()) == KeyOf(place.secondary))
                    return static_cast<VhdlDesignUnit*>(u);
        return primary->GetSecondaryUnit(place.secondary.c_str());
    }

    VhdlLibrary& library_;
    std::string key_;
    std::string origin_; // the file, for messages
    size_t secondaryStart_ = 0;
    bool pending_ = false;
    std::string rest_; // of the payload, while the secondary units are pending
    std::vector<DepEntry> deps_;
    std::vector<ExternEntry> externTable_;
    std::vector<VhdlTreeNode*> units_;
    VhdlPrimaryUnit* primary_ = nullptr;
};

// ---------------------------------------------------------------- library directories

class StoreSource : public VhdlUnitSource {
public:
    static StoreSource& instance() {
        static StoreSource* source = new StoreSource; // lives for the process
        return *source;
    }
    void install() { vhdl_file::SetUnitSource(this); }

    VhdlPrimaryUnit* Restore(VhdlLibrary& library, const std::string& key) override {
        return directories.restore(
            library.Name(), key, VhdlStore::FileName(key),
            [&](std::string_view bytes, const std::string& path) {
                return VhdlStore::Decode(library, key, bytes, vhdl_file::_protect, path);
            },
            [&](const ColLineFile& loc, const std::string& path, const char* why) {
                Message::Tell<vhdl_msg::StoreCannotRestore>(&loc, key.c_str(), library.Name().c_str(), path.c_str(),
                                                            why);
            });
    }
    void Forget() override { directories.forget(); }

    store::Directories<Vhdl> directories;
};

} // namespace

// ---------------------------------------------------------------- VhdlStore

std::string VhdlStore::FileName(const std::string& key) { return StoreFileName(key, false, ".vdb"); }

std::string VhdlStore::Encode(VhdlPrimaryUnit& unit, Protect* cipher) {
    return StoreSeal(Kind(), VhdlSaver(unit).run(), cipher);
}

VhdlPrimaryUnit* VhdlStore::Decode(VhdlLibrary& library, const std::string& key, std::string_view bytes,
                                   Protect* cipher, const std::string& origin) {
    store::SessionScope<Vhdl> scope;
    std::string plain;
    const std::string_view payload = StoreOpen(Kind(), bytes, cipher, plain);
    auto loader = std::make_unique<VhdlLoader>(library, key, payload, *scope.session, origin);
    VhdlPrimaryUnit* unit = loader->run();
    if (loader->pending()) library.AddPendingUnits(unit, std::move(loader));
    return unit;
}

StoreKind VhdlStore::Kind() { return {"SIFT-VDB", Vhdl::kFormat, Layout()}; }

uint64_t VhdlStore::Layout() { return store::LayoutOf<Vhdl>(); }

// ---------------------------------------------------------------- vhdl_file

void vhdl_file::SetDefaultLibraryPath(const char* path) {
    StoreSource& source = StoreSource::instance();
    source.directories.setDefault(path);
    source.install();
}

void vhdl_file::AddLibraryPath(const char* library, const char* path) {
    if (!library) return;
    StoreSource& source = StoreSource::instance();
    source.directories.setPath(KeyOf(library), path);
    source.install();
    // The library exists from now on, as if units had been analysed into it.
    GetLibrary(library, true);
}

bool vhdl_file::Save(const char* library, const char* unit) {
    const std::string libName = library ? library : "";
    const std::string unitName = unit ? unit : "";
    try {
        VhdlLibrary* lib = GetLibrary(libName.c_str());
        VhdlPrimaryUnit* primary = lib ? lib->GetPrimUnit(unitName.c_str()) : nullptr;
        if (!primary) throw StoreError("there is no such unit");
        StoreSource::instance().directories.save(lib->Name(), VhdlStore::FileName(KeyOf(primary->Name())),
                                                 [&] { return VhdlStore::Encode(*primary, _protect); });
        return true;
    } catch (const StoreError& e) {
        Message::Tell<vhdl_msg::StoreCannotSave>(nullptr, unitName.c_str(), libName.c_str(), e.what());
        return false;
    }
}

bool vhdl_file::SaveLib(const char* library) {
    VhdlLibrary* lib = GetLibrary(library);
    if (!lib) {
        Message::Tell<vhdl_msg::StoreNoLibrary>(nullptr, library ? library : "");
        return false;
    }
    bool ok = true;
    // Copied: saving restores nothing, but a look-up could.
    const std::vector<VhdlPrimaryUnit*> units = lib->PrimaryUnits();
    for (VhdlPrimaryUnit* unit : units) ok = Save(lib->Name().c_str(), std::string(unit->Name()).c_str()) && ok;
    return ok;
}

} // namespace hdl
