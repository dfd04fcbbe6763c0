// The archive is Boost's: Boost writes and checks the header and the preamble of each class
// on its first appearance. Everything after a preamble has a fixed form (primitives in
// native byte order, counts, item versions), so the fields of every object are moved
// between the records and the stream buffer here, without a call into the archive per
// object or per number.
#include "sift/database/HADLDatabaseArchive.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/level.hpp>
#include <boost/serialization/tracking.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <streambuf>
#include <type_traits>
#include <vector>

// The std::vector layer of a list, an object of its own in the archive: count, item
// version, elements; or, for ids, count and one block without preamble.
template <typename T>
struct HADLVectorLayer {
    std::vector<T>* items;
};

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

} // namespace serialization
} // namespace boost

namespace {

using boost::archive::archive_exception;

[[noreturn]] void damaged()
{
    throw archive_exception(archive_exception::input_stream_error);
}

// Put area of one chunk, drained whenever full; the writer fills it with memcpy.
class OutBuffer : public std::streambuf {
public:
    explicit OutBuffer(const HADLArchiveDrain& drain) : drain_(drain), chunk_(1 << 20)
    {
        setp(chunk_.data(), chunk_.data() + chunk_.size());
    }

    void put(const void* bytes, std::size_t length)
    {
        if (static_cast<std::size_t>(epptr() - pptr()) < length) {
            drainChunk();
            if (length > chunk_.size()) {
                drain_(static_cast<const char*>(bytes), length);
                return;
            }
        }
        std::memcpy(pptr(), bytes, length);
        pbump(static_cast<int>(length));
    }
    void finish() { drainChunk(); }

protected:
    int_type overflow(int_type c) override
    {
        drainChunk();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* bytes, std::streamsize length) override
    {
        put(bytes, static_cast<std::size_t>(length));
        return length;
    }

private:
    void drainChunk()
    {
        if (pptr() != pbase())
            drain_(pbase(), static_cast<std::size_t>(pptr() - pbase()));
        setp(chunk_.data(), chunk_.data() + chunk_.size());
    }

    const HADLArchiveDrain& drain_;
    std::vector<char> chunk_;
};

// Get area over the whole archive; the reader takes its fields straight out of it.
class InBuffer : public std::streambuf {
public:
    InBuffer(const char* data, std::size_t size)
    {
        char* begin = const_cast<char*>(data);
        setg(begin, begin, begin + size);
    }
    const char* next() const { return gptr(); }
    std::size_t left() const { return static_cast<std::size_t>(egptr() - gptr()); }
    const char* take(std::size_t length)
    {
        if (length > left())
            damaged();
        const char* at = gptr();
        setg(eback(), gptr() + length, egptr());
        return at;
    }
};

// Which classes have had their preamble in the archive under way: a class is marked with
// the number of that archive, so nothing needs clearing between archives.
unsigned archiveSerial = 0;
template <class C>
unsigned introducedOut = 0;
template <class C>
unsigned introducedIn = 0;

struct Writer {
    OutBuffer& buffer;
    boost::archive::binary_oarchive& ar;
    unsigned serial;

    template <class V>
    void prim(const V& value)
    {
        buffer.put(&value, sizeof value);
    }
    void flag(const bool& value) { prim(value); }

    template <class C>
    bool firstOf()
    {
        if (introducedOut<C> == serial)
            return false;
        introducedOut<C> = serial;
        return true;
    }
    // Boost writes the preamble, then comes back for the fields through serialize below.
    template <class C>
    void throughBoost(C& object)
    {
        ar << static_cast<const C&>(object);
    }
};

struct Reader {
    InBuffer& buffer;
    boost::archive::binary_iarchive& ar;
    unsigned serial;
    const char* preambleStart = nullptr;

    template <class V>
    void prim(V& value)
    {
        std::memcpy(&value, buffer.take(sizeof value), sizeof value);
    }
    // As a byte, so that a damaged archive cannot plant a bool that is neither 0 nor 1.
    void flag(bool& value) { value = *buffer.take(1) != 0; }

    template <class C>
    bool firstOf()
    {
        if (introducedIn<C> == serial)
            return false;
        introducedIn<C> = serial;
        return true;
    }
    template <class C>
    void throughBoost(C& object)
    {
        preambleStart = buffer.next();
        ar >> object;
    }
    // Boost has read a preamble: a tracking byte and a 4-byte version. Our archives never
    // track, and with tracking on Boost would expect an object id before each object of
    // the class, which the fields read here do not.
    void checkPreamble() const
    {
        if (buffer.next() - preambleStart != 5 || *preambleStart != 0)
            damaged();
    }
};

Writer* activeWriter = nullptr;
Reader* activeReader = nullptr;

template <class IO, class C>
void object(IO& io, C& value);

template <class IO>
void fields(IO& io, HADLDatabase::Options& o)
{
    io.flag(o.ignoreTranslateOff);
    io.prim(o.defaultLibrary);
    io.flag(o.strictVhdlLibSearchOrder);
    io.flag(o.enableVHDL2019);
}

template <class IO>
void fields(IO& io, HADLDatabase::Status& s)
{
    io.prim(s.err);
    io.flag(s.isParseDone);
    io.flag(s.isElabError);
}

template <class IO>
void fields(IO& io, HADLDatabase::MacroDef& d)
{
    io.prim(d.valueId);
    io.flag(d.hasValue);
}

template <class IO>
void fields(IO& io, HADLDatabase::GenericDef& d)
{
    io.prim(d.valueId);
    io.flag(d.hasValue);
}

template <class IO>
void fields(IO& io, HADLDatabase::FileAttr& f)
{
    io.prim(f.lang);
    io.prim(f.libId);
    io.prim(f.incDirListId);
    io.prim(f.tempAliasId);
    io.prim(f.isAliasOfId);
    io.flag(f.isStdVhdl);
    io.flag(f.isDisabled);
}

template <class IO>
void fields(IO& io, HADLDatabase::FileProp& p)
{
    object(io, p.includedFiles);
    object(io, p.parsReqFiles);
    object(io, p.parsOvrFiles);
    object(io, p.elabReqFiles);
}

template <class IO>
void fields(IO& io, HADLDatabase::RInstAttr& i)
{
    io.prim(i.instnameId);
    io.prim(i.targetId);
}

template <class IO>
void fields(IO& io, HADLDatabase::RUnitAttr& u)
{
    io.prim(u.libId);
    io.prim(u.primaryId);
    io.prim(u.secondaryId);
    object(io, u.fileIds);
    object(io, u.insts);
}

template <class IO>
void fields(IO& io, HADLDatabase::InstAttr& i)
{
    io.prim(i.unitId);
    io.prim(i.instId);
    io.prim(i.fileId);
    io.prim(i.line);
    io.flag(i.hasParam);
    io.flag(i.isInactive);
    io.flag(i.instNameHasLib);
}

template <class IO>
void fields(IO& io, HADLDatabase::AttributeAttr& a)
{
    io.prim(a.name);
    io.prim(a.value);
}

template <class IO>
void fields(IO& io, HADLDatabase::PortAttr& p)
{
    io.prim(p.name);
    io.prim(p.typeName);
    io.prim(p.typeLeft);
    io.prim(p.typeRight);
    io.prim(p.typeDirection);
    io.prim(p.defaultValue);
    io.prim(p.portDirection);
    io.prim(p.masterDirection);
    io.prim(p.slaveDirection);
    object(io, p.attributes);
}

template <class IO>
void fields(IO& io, HADLDatabase::ParamAttr& p)
{
    io.prim(p.name);
    io.prim(p.typeName);
    io.prim(p.typeLeft);
    io.prim(p.typeRight);
    io.prim(p.typeDirection);
    io.prim(p.defaultValue);
    io.prim(p.rangeConstraintLeft);
    io.prim(p.rangeConstraintSeparator);
    io.prim(p.rangeConstraintRight);
    io.flag(p.isParamDecl);
    io.flag(p.isLocalParam);
}

template <class IO>
void fields(IO& io, HADLDatabase::UnitAttr& u)
{
    io.prim(u.libId);
    io.prim(u.primaryId);
    io.prim(u.secondaryId);
    io.prim(u.origUnitId);
    io.prim(u.fileId);
    io.prim(u.startLine);
    io.prim(u.endLine);
    io.prim(u.leftCol);
    io.prim(u.rightCol);
    object(io, u.insts);
    object(io, u.inactiveUnits);
    io.flag(u.isConfig);
    io.flag(u.isInterface);
    object(io, u.ports);
    object(io, u.parameters);
    object(io, u.attributes);
}

template <class IO>
void fields(IO& io, HADLDatabase::Msg& m)
{
    io.prim(m.line);
    io.prim(m.type);
    io.prim(m.fmtId);
    object(io, m.args);
}

template <class IO>
void fields(IO& io, HADLDatabase::Range& r)
{
    io.prim(r.startLine);
    io.prim(r.endLine);
}

template <class IO>
void fields(IO& io, HADLDatabase::Var& v)
{
    io.prim(v.nameId);
    io.flag(v.isInput);
    io.flag(v.isOutput);
    io.prim(v.msb);
    io.prim(v.lsb);
    io.prim(v.fileId);
    io.prim(v.line);
}

template <class IO>
void fields(IO& io, HADLDatabase::FileLoc& l)
{
    io.prim(l.fileId);
    io.prim(l.line);
    io.prim(l.startCol);
}

// The archive puts fileId before kind, unlike the record in memory.
template <class IO>
void fields(IO& io, HADLDatabase::Declaration& d)
{
    io.prim(d.name);
    io.prim(d.type);
    io.prim(d.fileId);
    io.prim(d.kind);
    io.prim(d.line);
    io.prim(d.startCol);
    object(io, d.references);
}

template <class IO>
void fields(IO& io, HADLDatabase::UnitRange& r)
{
    io.prim(r.nameId);
    io.prim(r.fileId);
    io.prim(r.startLine);
    io.prim(r.endLine);
    io.prim(r.extra);
}

template <class T>
void fields(Writer& out, HADLVectorLayer<T>& layer)
{
    const std::vector<T>& items = *layer.items;
    out.prim(std::uint64_t(items.size()));
    if constexpr (std::is_same_v<T, unsigned>) {
        if (!items.empty())
            out.buffer.put(items.data(), items.size() * sizeof(unsigned));
    } else {
        out.prim(std::uint32_t(0)); // item version
        for (const T& item : items)
            object(out, const_cast<T&>(item));
    }
}

template <class T>
void fields(Reader& in, HADLVectorLayer<T>& layer)
{
    std::vector<T>& items = *layer.items;
    std::uint64_t count = 0;
    in.prim(count);
    items.clear();
    if constexpr (std::is_same_v<T, unsigned>) {
        if (count > in.buffer.left() / sizeof(unsigned))
            damaged();
        items.resize(count);
        if (count != 0) // an empty vector's data() may be null, which memcpy must not get
            std::memcpy(items.data(), in.buffer.take(count * sizeof(unsigned)), count * sizeof(unsigned));
    } else {
        std::uint32_t itemVersion = 0;
        in.prim(itemVersion);
        // Every element takes at least one byte. Reserve no more memory than the rest of
        // the archive holds and grow as elements arrive: the count alone proves nothing.
        const std::size_t left = in.buffer.left();
        if (count > left)
            damaged();
        items.reserve(std::min<std::size_t>(count, std::max<std::size_t>(4096, left / sizeof(T))));
        for (std::size_t i = 0; i < count; ++i) {
            items.emplace_back();
            object(in, items.back());
        }
    }
}

template <class IO, class T>
void fields(IO& io, HADLVectorForTuple<T>& list)
{
    HADLVectorLayer<T> layer{&list};
    if constexpr (std::is_same_v<T, unsigned>)
        fields(io, layer); // object_serializable: no preamble, ever
    else
        object(io, layer);
}

template <class IO, class T>
void fields(IO& io, HADLVectorForIndexing<T>& table)
{
    object(io, static_cast<HADLVectorForTuple<T>&>(table));
}

void fields(Writer& out, HADLStringIndexTableSerialization& proxy)
{
    const HADLStringIndexTable& table = *proxy.table;
    out.prim(std::uint32_t(table.size() - 1));
    for (unsigned id = 1; id < table.size(); ++id) {
        const char* text = table.strings[id];
        // The form of a std::string: 8-byte length, then the characters.
        const std::uint64_t length = std::strlen(text);
        out.prim(length);
        out.buffer.put(text, length);
    }
}

void fields(Reader& in, HADLStringIndexTableSerialization& proxy)
{
    HADLStringIndexTable& table = *proxy.table;
    std::uint32_t count = 0;
    in.prim(count);
    // Each entry takes its 8-byte length at least.
    table.strings.reserve(table.strings.size() + std::min<std::size_t>(count, in.buffer.left() / 8));
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint64_t length = 0;
        in.prim(length);
        if (length > in.buffer.left())
            damaged();
        table.appendRaw(in.buffer.take(length), length);
    }
    table.rebuildIndex();
}

template <class IO>
void fields(IO& io, HADLStringIndexTable& table)
{
    HADLStringIndexTableSerialization proxy{&table};
    object(io, proxy);
}

template <class IO>
void fields(IO& io, HADLStringMatchTable& table)
{
    object(io, static_cast<HADLStringIndexTable&>(table));
}

using HADLPrimaryMap = LoomHashMap<unsigned, HADLVectorForTuple<unsigned>>;

void fields(Writer& out, HADLPrimaryMap& map)
{
    out.prim(std::uint64_t(map.size()));
    for (auto& entry : map) {
        out.prim(entry.first);
        object(out, entry.second);
    }
}

void fields(Reader& in, HADLPrimaryMap& map)
{
    std::uint64_t count = 0;
    in.prim(count);
    // A key and a count at least per entry.
    if (count > in.buffer.left() / 12)
        damaged();
    map.clear();
    map.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        unsigned key = 0;
        HADLVectorForTuple<unsigned> value;
        in.prim(key);
        object(in, value);
        map[key] = std::move(value);
    }
}

// Archive order: as declared, except that members added later stand at the end.
template <class IO>
void fields(IO& io, HADLDatabase& db)
{
    object(io, db.fileNames);
    object(io, db.objNames);
    object(io, db.stdVhdlLibNames);
    object(io, db.stdSVLibNames);
    object(io, db.optionStrValues);
    object(io, db.options);
    object(io, db.dirNames);
    object(io, db.incDirLists);
    object(io, db.macroNames);
    object(io, db.macroValues);
    object(io, db.macroDefs);
    object(io, db.fileAttrs);
    object(io, db.fileProps);
    object(io, db.parseOrder);
    object(io, db.rUnitNames);
    object(io, db.rUnitAttrs);
    object(io, db.unitNames);
    object(io, db.unitAttrs);
    object(io, db.duplicateAttrs);
    object(io, db.pkgIds);
    object(io, db.tops);
    object(io, db.fmtStrs);
    object(io, db.argStrs);
    object(io, db.fileMsgs);
    object(io, db.blockRanges);
    object(io, db.rUnitVars);
    object(io, db.tesselModuleNames);
    io.flag(db.tesselLibClauseButNoInsts);
    io.flag(db.enableVhdlVerilogConfig);
    object(io, db.declTypes);
    object(io, db.variables);
    object(io, db.unitRanges);
    object(io, db.status);
    object(io, db.genericNames);
    object(io, db.genericValues);
    object(io, db.genericDefs);
    object(io, db.nonHdlModuleNames);
    object(io, db.primaryToUnits);
    object(io, db.derivedUnits);
}

// One object of a class with a preamble: Boost takes the first of its class, so that its
// bookkeeping of classes is what it always is; the rest carry no header and go direct.
template <class IO, class C>
void object(IO& io, C& value)
{
    if (io.template firstOf<C>())
        io.throughBoost(value);
    else
        fields(io, value);
}

// Called by Boost after it has handled the preamble of a class's first object.
template <class Archive, class C>
void fromBoost(Archive&, C& value)
{
    if constexpr (Archive::is_saving::value) {
        fields(*activeWriter, value);
    } else {
        activeReader->checkPreamble();
        fields(*activeReader, value);
    }
}

} // namespace

namespace boost {
namespace serialization {

#define HADL_ARCHIVED(...)                                                                     \
    template <class Archive>                                                                   \
    void serialize(Archive& ar, __VA_ARGS__& value, unsigned)                                  \
    {                                                                                          \
        fromBoost(ar, value);                                                                  \
    }

HADL_ARCHIVED(HADLDatabase)
HADL_ARCHIVED(HADLDatabase::Options)
HADL_ARCHIVED(HADLDatabase::Status)
HADL_ARCHIVED(HADLDatabase::MacroDef)
HADL_ARCHIVED(HADLDatabase::GenericDef)
HADL_ARCHIVED(HADLDatabase::FileAttr)
HADL_ARCHIVED(HADLDatabase::FileProp)
HADL_ARCHIVED(HADLDatabase::RInstAttr)
HADL_ARCHIVED(HADLDatabase::RUnitAttr)
HADL_ARCHIVED(HADLDatabase::InstAttr)
HADL_ARCHIVED(HADLDatabase::AttributeAttr)
HADL_ARCHIVED(HADLDatabase::PortAttr)
HADL_ARCHIVED(HADLDatabase::ParamAttr)
HADL_ARCHIVED(HADLDatabase::UnitAttr)
HADL_ARCHIVED(HADLDatabase::Msg)
HADL_ARCHIVED(HADLDatabase::Range)
HADL_ARCHIVED(HADLDatabase::Var)
HADL_ARCHIVED(HADLDatabase::FileLoc)
HADL_ARCHIVED(HADLDatabase::Declaration)
HADL_ARCHIVED(HADLDatabase::UnitRange)
HADL_ARCHIVED(HADLStringIndexTable)
HADL_ARCHIVED(HADLStringMatchTable)
HADL_ARCHIVED(HADLStringIndexTableSerialization)
HADL_ARCHIVED(HADLPrimaryMap)

#undef HADL_ARCHIVED

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorLayer<T>& layer, unsigned)
{
    fromBoost(ar, layer);
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorForTuple<T>& list, unsigned)
{
    fromBoost(ar, list);
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorForIndexing<T>& table, unsigned)
{
    fromBoost(ar, table);
}

} // namespace serialization
} // namespace boost

bool hadlHasArchiveSignature(const char* data, std::size_t size)
{
    static const char expected[kHadlSignatureBytes + 1] =
        "\x16\0\0\0\0\0\0\0serialization::archive";
    return size >= kHadlSignatureBytes && std::memcmp(data, expected, kHadlSignatureBytes) == 0;
}

void hadlWriteDatabase(const HADLDatabase& db, const HADLArchiveDrain& drain)
{
    OutBuffer buffer(drain);
    {
        boost::archive::binary_oarchive ar(buffer, 0);
        Writer out{buffer, ar, ++archiveSerial};
        activeWriter = &out;
        object(out, const_cast<HADLDatabase&>(db));
        activeWriter = nullptr;
    }
    buffer.finish();
}

bool hadlReadDatabase(const char* data, std::size_t size, HADLDatabase& db)
{
    if (!hadlHasArchiveSignature(data, size))
        return false;
    InBuffer buffer(data, size);
    std::unique_ptr<boost::archive::binary_iarchive> ar;
    try {
        ar = std::make_unique<boost::archive::binary_iarchive>(buffer, 0);
    } catch (...) {
        return false;
    }
    // Older library versions encode preambles, versions and counts in other widths.
    if (ar->get_library_version() < boost::serialization::library_version_type(8))
        return false;
    db = HADLDatabase();
    Reader in{buffer, *ar, ++archiveSerial};
    activeReader = &in;
    try {
        object(in, db);
    } catch (...) {
        activeReader = nullptr;
        throw;
    }
    activeReader = nullptr;
    db.resizeTables();
    return true;
}
