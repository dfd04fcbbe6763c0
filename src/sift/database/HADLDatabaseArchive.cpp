#include "sift/database/HADLDatabaseArchive.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/collection_size_type.hpp>
#include <boost/serialization/item_version_type.hpp>
#include <boost/serialization/level.hpp>
#include <boost/serialization/split_free.hpp>
#include <boost/serialization/tracking.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

// The std::vector layer of a list. It stands in for the vector itself so that the layout
// (count, item version, elements; or count and one block for ids) does not depend on which
// vector support another part of the program pulls in.
template <typename T>
struct HADLVectorLayer {
    std::vector<T>* items;
};

namespace {

// Upper bound for counts and lengths in the archive being read. One thread reads at a time.
std::size_t readLimit = 0;

void checkClaim(std::uint64_t claimed)
{
    if (claimed > readLimit)
        throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
}

// Bools are read as bytes so that a damaged archive cannot plant a bool that is neither 0 nor 1.
template <class Archive>
void flag(Archive& ar, bool& value)
{
    if constexpr (Archive::is_loading::value) {
        unsigned char byte = 0;
        ar >> byte;
        value = byte != 0;
    } else {
        ar << value;
    }
}

} // namespace

namespace boost {
namespace serialization {

template <class T>
struct tracking_level<HADLVectorLayer<T>> {
    typedef mpl::integral_c_tag tag;
    typedef mpl::int_<track_never> type;
    BOOST_STATIC_CONSTANT(int, value = track_never);
};

// A vector of ids is written without preamble, as Boost does for vectors of primitives.
template <>
struct implementation_level<HADLVectorLayer<unsigned>> {
    typedef mpl::integral_c_tag tag;
    typedef mpl::int_<object_serializable> type;
    BOOST_STATIC_CONSTANT(int, value = object_serializable);
};

template <>
struct tracking_level<HADLStringIndexTableSerialization> {
    typedef mpl::integral_c_tag tag;
    typedef mpl::int_<track_never> type;
    BOOST_STATIC_CONSTANT(int, value = track_never);
};

template <class Archive, class T>
void save(Archive& ar, const HADLVectorLayer<T>& layer, unsigned)
{
    const std::vector<T>& items = *layer.items;
    const collection_size_type count(items.size());
    ar << count;
    if constexpr (std::is_same_v<T, unsigned>) {
        if (!items.empty())
            ar.save_binary(items.data(), items.size() * sizeof(unsigned));
    } else {
        const item_version_type itemVersion(0);
        ar << itemVersion;
        for (const T& item : items)
            ar << item;
    }
}

template <class Archive, class T>
void load(Archive& ar, HADLVectorLayer<T>& layer, unsigned)
{
    std::vector<T>& items = *layer.items;
    collection_size_type count;
    ar >> count;
    items.clear();
    if constexpr (std::is_same_v<T, unsigned>) {
        checkClaim(std::uint64_t(count) * sizeof(unsigned));
        items.resize(count);
        if (count != 0)
            ar.load_binary(items.data(), items.size() * sizeof(unsigned));
    } else {
        item_version_type itemVersion;
        ar >> itemVersion;
        checkClaim(count);
        // Grow as elements arrive: the count alone is no proof that they are there.
        items.reserve(std::min<std::size_t>(count, 4096));
        for (std::size_t i = 0; i < count; ++i) {
            items.emplace_back();
            ar >> items.back();
        }
    }
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorLayer<T>& layer, unsigned version)
{
    split_free(ar, layer, version);
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorForTuple<T>& list, unsigned)
{
    HADLVectorLayer<T> layer{&list};
    ar & layer;
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorForIndexing<T>& table, unsigned)
{
    ar & base_object<HADLVectorForTuple<T>>(table);
}

template <class Archive>
void save(Archive& ar, const HADLStringIndexTableSerialization& proxy, unsigned)
{
    const HADLStringIndexTable& table = *proxy.table;
    const unsigned count = table.size() - 1;
    ar << count;
    for (unsigned id = 1; id < table.size(); ++id) {
        const char* text = table.strings[id];
        // The form of a std::string: 8-byte length, then the characters.
        const std::uint64_t length = std::strlen(text);
        ar << length;
        ar.save_binary(text, length);
    }
}

template <class Archive>
void load(Archive& ar, HADLStringIndexTableSerialization& proxy, unsigned)
{
    HADLStringIndexTable& table = *proxy.table;
    unsigned count = 0;
    ar >> count;
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        std::uint64_t length = 0;
        ar >> length;
        checkClaim(length);
        text.resize(length);
        if (length != 0)
            ar.load_binary(&text[0], length);
        table.appendRaw(text.data(), text.size());
    }
    table.rebuildIndex();
}

template <class Archive>
void serialize(Archive& ar, HADLStringIndexTableSerialization& proxy, unsigned version)
{
    split_free(ar, proxy, version);
}

template <class Archive>
void serialize(Archive& ar, HADLStringIndexTable& table, unsigned)
{
    HADLStringIndexTableSerialization proxy{&table};
    ar & proxy;
}

template <class Archive>
void serialize(Archive& ar, HADLStringMatchTable& table, unsigned)
{
    ar & base_object<HADLStringIndexTable>(table);
}

template <class Archive>
void save(Archive& ar, const LoomHashMap<unsigned, HADLVectorForTuple<unsigned>>& map, unsigned)
{
    const collection_size_type count(map.size());
    ar << count;
    for (const auto& entry : map) {
        ar << entry.first;
        ar << entry.second;
    }
}

template <class Archive>
void load(Archive& ar, LoomHashMap<unsigned, HADLVectorForTuple<unsigned>>& map, unsigned)
{
    collection_size_type count;
    ar >> count;
    checkClaim(count);
    map.clear();
    for (std::size_t i = 0; i < count; ++i) {
        unsigned key = 0;
        HADLVectorForTuple<unsigned> value;
        ar >> key;
        ar >> value;
        map[key] = std::move(value);
    }
}

template <class Archive>
void serialize(Archive& ar, LoomHashMap<unsigned, HADLVectorForTuple<unsigned>>& map,
               unsigned version)
{
    split_free(ar, map, version);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::Options& o, unsigned)
{
    flag(ar, o.ignoreTranslateOff);
    ar & o.defaultLibrary;
    flag(ar, o.strictVhdlLibSearchOrder);
    flag(ar, o.enableVHDL2019);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::Status& s, unsigned)
{
    ar & s.err;
    flag(ar, s.isParseDone);
    flag(ar, s.isElabError);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::MacroDef& d, unsigned)
{
    ar & d.valueId;
    flag(ar, d.hasValue);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::GenericDef& d, unsigned)
{
    ar & d.valueId;
    flag(ar, d.hasValue);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::FileAttr& f, unsigned)
{
    ar & f.lang & f.libId & f.incDirListId & f.tempAliasId & f.isAliasOfId;
    flag(ar, f.isStdVhdl);
    flag(ar, f.isDisabled);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::FileProp& p, unsigned)
{
    ar & p.includedFiles & p.parsReqFiles & p.parsOvrFiles & p.elabReqFiles;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::RInstAttr& i, unsigned)
{
    ar & i.instnameId & i.targetId;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::RUnitAttr& u, unsigned)
{
    ar & u.libId & u.primaryId & u.secondaryId & u.fileIds & u.insts;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::InstAttr& i, unsigned)
{
    ar & i.unitId & i.instId & i.fileId & i.line;
    flag(ar, i.hasParam);
    flag(ar, i.isInactive);
    flag(ar, i.instNameHasLib);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::AttributeAttr& a, unsigned)
{
    ar & a.name & a.value;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::PortAttr& p, unsigned)
{
    ar & p.name & p.typeName & p.typeLeft & p.typeRight & p.typeDirection & p.defaultValue
        & p.portDirection & p.masterDirection & p.slaveDirection & p.attributes;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::ParamAttr& p, unsigned)
{
    ar & p.name & p.typeName & p.typeLeft & p.typeRight & p.typeDirection & p.defaultValue
        & p.rangeConstraintLeft & p.rangeConstraintSeparator & p.rangeConstraintRight;
    flag(ar, p.isParamDecl);
    flag(ar, p.isLocalParam);
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::UnitAttr& u, unsigned)
{
    ar & u.libId & u.primaryId & u.secondaryId & u.origUnitId & u.fileId & u.startLine
        & u.endLine & u.leftCol & u.rightCol & u.insts & u.inactiveUnits;
    flag(ar, u.isConfig);
    flag(ar, u.isInterface);
    ar & u.ports & u.parameters & u.attributes;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::Msg& m, unsigned)
{
    ar & m.line & m.type & m.fmtId & m.args;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::Range& r, unsigned)
{
    ar & r.startLine & r.endLine;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::Var& v, unsigned)
{
    ar & v.nameId;
    flag(ar, v.isInput);
    flag(ar, v.isOutput);
    ar & v.msb & v.lsb & v.fileId & v.line;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::FileLoc& l, unsigned)
{
    ar & l.fileId & l.line & l.startCol;
}

// The archive puts fileId before kind, unlike the record in memory.
template <class Archive>
void serialize(Archive& ar, HADLDatabase::Declaration& d, unsigned)
{
    ar & d.name & d.type & d.fileId & d.kind & d.line & d.startCol & d.references;
}

template <class Archive>
void serialize(Archive& ar, HADLDatabase::UnitRange& r, unsigned)
{
    ar & r.nameId & r.fileId & r.startLine & r.endLine & r.extra;
}

// Archive order: as declared, except that members added later stand at the end.
template <class Archive>
void serialize(Archive& ar, HADLDatabase& db, unsigned)
{
    ar & db.fileNames & db.objNames & db.stdVhdlLibNames & db.stdSVLibNames
        & db.optionStrValues & db.options & db.dirNames & db.incDirLists & db.macroNames
        & db.macroValues & db.macroDefs & db.fileAttrs & db.fileProps & db.parseOrder
        & db.rUnitNames & db.rUnitAttrs & db.unitNames & db.unitAttrs & db.duplicateAttrs
        & db.pkgIds & db.tops & db.fmtStrs & db.argStrs & db.fileMsgs & db.blockRanges
        & db.rUnitVars & db.tesselModuleNames;
    flag(ar, db.tesselLibClauseButNoInsts);
    flag(ar, db.enableVhdlVerilogConfig);
    ar & db.declTypes & db.variables & db.unitRanges & db.status & db.genericNames
        & db.genericValues & db.genericDefs & db.nonHdlModuleNames & db.primaryToUnits
        & db.derivedUnits;
}

} // namespace serialization
} // namespace boost

bool hadlHasArchiveSignature(const char* data, std::size_t size)
{
    static const char expected[kHadlSignatureBytes + 1] =
        "\x16\0\0\0\0\0\0\0serialization::archive";
    return size >= kHadlSignatureBytes && std::memcmp(data, expected, kHadlSignatureBytes) == 0;
}

void hadlWriteDatabase(boost::archive::binary_oarchive& ar, const HADLDatabase& db)
{
    ar << db;
}

void hadlReadDatabase(boost::archive::binary_iarchive& ar, HADLDatabase& db,
                      std::size_t byteLimit)
{
    readLimit = byteLimit;
    ar >> db;
}
