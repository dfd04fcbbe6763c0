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

[[noreturn]] void damaged() { throw archive_exception(archive_exception::input_stream_error); }

// The writer's cursor in the window the sink gave it. Boost writes its header and
// preambles through the streambuf interface into the same window: the cursor is lent to
// the put area before Boost runs and taken back when Boost hands an object over.
class OutBuffer : public std::streambuf {
public:
    explicit OutBuffer(HADLArchiveSink& sink) : sink_(sink) { open(sink_.next(0, 1)); }

    // Makes room for `length` bytes at the cursor; `length` is a few dozen at most.
    void room(std::size_t length) {
        if (static_cast<std::size_t>(end - at) < length) open(sink_.next(filled(), length));
    }
    // Any length, across as many windows as it takes.
    void put(const char* bytes, std::size_t length) {
        while (static_cast<std::size_t>(end - at) < length) {
            const std::size_t part = static_cast<std::size_t>(end - at);
            std::memcpy(at, bytes, part);
            at += part;
            bytes += part;
            length -= part;
            open(sink_.next(filled(), 1));
        }
        std::memcpy(at, bytes, length);
        at += length;
    }
    void finish() { sink_.finish(filled()); }

    void lendToBoost() { setp(at, end); }
    void takeFromBoost() {
        at = pptr();
        end = epptr();
    }

    char* at = nullptr;
    char* end = nullptr;

protected:
    int_type overflow(int_type c) override {
        takeFromBoost();
        room(1);
        if (!traits_type::eq_int_type(c, traits_type::eof())) *at++ = traits_type::to_char_type(c);
        lendToBoost();
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* bytes, std::streamsize length) override {
        takeFromBoost();
        put(bytes, static_cast<std::size_t>(length));
        lendToBoost();
        return length;
    }

private:
    std::size_t filled() const { return static_cast<std::size_t>(at - begin_); }
    void open(HADLArchiveSink::Window window) {
        begin_ = at = window.begin;
        end = window.end;
    }

    HADLArchiveSink& sink_;
    char* begin_ = nullptr;
};

// Get area over the whole archive, for Boost; the reader keeps a cursor of its own and
// hands it over before Boost reads a preamble.
class InBuffer : public std::streambuf {
public:
    InBuffer(const char* data, std::size_t size) {
        char* begin = const_cast<char*>(data);
        setg(begin, begin, begin + size);
    }
    const char* next() const { return gptr(); }
    const char* end() const { return egptr(); }
    void seek(const char* at) { setg(eback(), const_cast<char*>(at), egptr()); }
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

    // A run of primitives in their native form, with one check for room.
    template <class... V>
    void fixed(const V&... values) {
        buffer.room((sizeof(V) + ...));
        char* at = buffer.at;
        ((std::memcpy(at, &values, sizeof(V)), at += sizeof(V)), ...);
        buffer.at = at;
    }

    template <class C>
    bool firstOf() {
        if (introducedOut<C> == serial) return false;
        introducedOut<C> = serial;
        return true;
    }
    // Boost writes the preamble, then comes back for the fields through serialize below.
    template <class C>
    void throughBoost(C& object) {
        buffer.lendToBoost();
        ar << static_cast<const C&>(object);
    }
    void fromBoost() { buffer.takeFromBoost(); }
};

struct Reader {
    InBuffer& buffer;
    boost::archive::binary_iarchive& ar;
    unsigned serial;
    const char* at;
    const char* end;
    const char* preambleStart = nullptr;

    std::size_t left() const { return static_cast<std::size_t>(end - at); }

    // A run of primitives, with one check that the archive holds them.
    template <class... V>
    void fixed(V&... values) {
        if (left() < (sizeof(V) + ...)) damaged();
        const char* from = at;
        (load(values, from), ...);
        at = from;
    }
    template <class V>
    static void load(V& value, const char*& from) {
        std::memcpy(&value, from, sizeof value);
        from += sizeof value;
    }
    // As a byte, so that a damaged archive cannot plant a bool that is neither 0 nor 1.
    static void load(bool& value, const char*& from) { value = *from++ != 0; }

    const char* take(std::size_t length) {
        if (length > left()) damaged();
        const char* bytes = at;
        at += length;
        return bytes;
    }

    template <class C>
    bool firstOf() {
        if (introducedIn<C> == serial) return false;
        introducedIn<C> = serial;
        return true;
    }
    template <class C>
    void throughBoost(C& object) {
        buffer.seek(at);
        preambleStart = at;
        ar >> object;
    }
    // Boost has read a preamble: a tracking byte and a 4-byte version. Our archives never
    // track, and with tracking on Boost would expect an object id before each object of
    // the class, which the fields read here do not.
    void fromBoost() {
        at = buffer.next();
        if (at - preambleStart != 5 || *preambleStart != 0) damaged();
    }
};

Writer* activeWriter = nullptr;
Reader* activeReader = nullptr;

template <class IO, class C>
void object(IO& io, C& value);

template <class IO>
void fields(IO& io, HADLDatabase::Options& o) {
    io.fixed(o.ignoreTranslateOff, o.defaultLibrary, o.strictVhdlLibSearchOrder, o.enableVHDL2019);
}

template <class IO>
void fields(IO& io, HADLDatabase::Status& s) {
    io.fixed(s.err, s.isParseDone, s.isElabError);
}

template <class IO>
void fields(IO& io, HADLDatabase::MacroDef& d) {
    io.fixed(d.valueId, d.hasValue);
}

template <class IO>
void fields(IO& io, HADLDatabase::GenericDef& d) {
    io.fixed(d.valueId, d.hasValue);
}

template <class IO>
void fields(IO& io, HADLDatabase::FileAttr& f) {
    io.fixed(f.lang, f.libId, f.incDirListId, f.tempAliasId, f.isAliasOfId, f.isStdVhdl, f.isDisabled);
}

template <class IO>
void fields(IO& io, HADLDatabase::FileProp& p) {
    object(io, p.includedFiles);
    object(io, p.parsReqFiles);
    object(io, p.parsOvrFiles);
    object(io, p.elabReqFiles);
}

template <class IO>
void fields(IO& io, HADLDatabase::RInstAttr& i) {
    io.fixed(i.instnameId, i.targetId);
}

template <class IO>
void fields(IO& io, HADLDatabase::RUnitAttr& u) {
    io.fixed(u.libId, u.primaryId, u.secondaryId);
    object(io, u.fileIds);
    object(io, u.insts);
}

template <class IO>
void fields(IO& io, HADLDatabase::InstAttr& i) {
    io.fixed(i.unitId, i.instId, i.fileId, i.line, i.hasParam, i.isInactive, i.instNameHasLib);
}

template <class IO>
void fields(IO& io, HADLDatabase::AttributeAttr& a) {
    io.fixed(a.name, a.value);
}

template <class IO>
void fields(IO& io, HADLDatabase::PortAttr& p) {
    io.fixed(p.name, p.typeName, p.typeLeft, p.typeRight, p.typeDirection, p.defaultValue, p.portDirection,
             p.masterDirection, p.slaveDirection);
    object(io, p.attributes);
}

template <class IO>
void fields(IO& io, HADLDatabase::ParamAttr& p) {
    io.fixed(p.name, p.typeName, p.typeLeft, p.typeRight, p.typeDirection, p.defaultValue, p.rangeConstraintLeft,
             p.rangeConstraintSeparator, p.rangeConstraintRight, p.isParamDecl, p.isLocalParam);
}

template <class IO>
void fields(IO& io, HADLDatabase::UnitAttr& u) {
    io.fixed(u.libId, u.primaryId, u.secondaryId, u.origUnitId, u.fileId, u.startLine, u.endLine, u.leftCol,
             u.rightCol);
    object(io, u.insts);
    object(io, u.inactiveUnits);
    io.fixed(u.isConfig, u.isInterface);
    object(io, u.ports);
    object(io, u.parameters);
    object(io, u.attributes);
}

template <class IO>
void fields(IO& io, HADLDatabase::Msg& m) {
    io.fixed(m.line, m.type, m.fmtId);
    object(io, m.args);
}

template <class IO>
void fields(IO& io, HADLDatabase::Range& r) {
    io.fixed(r.startLine, r.endLine);
}

template <class IO>
void fields(IO& io, HADLDatabase::Var& v) {
    io.fixed(v.nameId, v.isInput, v.isOutput, v.msb, v.lsb, v.fileId, v.line);
}

template <class IO>
void fields(IO& io, HADLDatabase::FileLoc& l) {
    io.fixed(l.fileId, l.line, l.startCol);
}

// The archive puts fileId before kind, unlike the record in memory.
template <class IO>
void fields(IO& io, HADLDatabase::Declaration& d) {
    io.fixed(d.name, d.type, d.fileId, d.kind, d.line, d.startCol);
    object(io, d.references);
}

template <class IO>
void fields(IO& io, HADLDatabase::UnitRange& r) {
    io.fixed(r.nameId, r.fileId, r.startLine, r.endLine, r.extra);
}

template <class T>
void fields(Writer& out, HADLVectorLayer<T>& layer) {
    const std::vector<T>& items = *layer.items;
    if constexpr (std::is_same_v<T, unsigned>) {
        out.fixed(std::uint64_t(items.size()));
        if (!items.empty())
            out.buffer.put(reinterpret_cast<const char*>(items.data()), items.size() * sizeof(unsigned));
    } else {
        out.fixed(std::uint64_t(items.size()), std::uint32_t(0)); // count, item version
        for (const T& item : items) object(out, const_cast<T&>(item));
    }
}

template <class T>
void fields(Reader& in, HADLVectorLayer<T>& layer) {
    std::vector<T>& items = *layer.items;
    std::uint64_t count = 0;
    items.clear();
    if constexpr (std::is_same_v<T, unsigned>) {
        in.fixed(count);
        if (count > in.left() / sizeof(unsigned)) damaged();
        items.resize(count);
        if (count != 0) // an empty vector's data() may be null, which memcpy must not get
            std::memcpy(items.data(), in.take(count * sizeof(unsigned)), count * sizeof(unsigned));
    } else {
        std::uint32_t itemVersion = 0;
        in.fixed(count, itemVersion);
        // Every element takes at least one byte. Reserve no more memory than the rest of
        // the archive holds and grow as elements arrive: the count alone proves nothing.
        const std::size_t left = in.left();
        if (count > left) damaged();
        items.reserve(std::min<std::size_t>(count, std::max<std::size_t>(4096, left / sizeof(T))));
        for (std::size_t i = 0; i < count; ++i) {
            items.emplace_back();
            object(in, items.back());
        }
    }
}

template <class IO, class T>
void fields(IO& io, HADLVectorForTuple<T>& list) {
    HADLVectorLayer<T> layer{&list};
    if constexpr (std::is_same_v<T, unsigned>) fields(io, layer); // object_serializable: no preamble, ever
    else object(io, layer);
}

template <class IO, class T>
void fields(IO& io, HADLVectorForIndexing<T>& table) {
    object(io, static_cast<HADLVectorForTuple<T>&>(table));
}

void fields(Writer& out, HADLStringIndexTableSerialization& proxy) {
    const HADLStringIndexTable& table = *proxy.table;
    out.fixed(std::uint32_t(table.size() - 1));
    for (unsigned id = 1; id < table.size(); ++id) {
        const char* text = table.strings[id];
        // The form of a std::string: 8-byte length, then the characters.
        const std::uint64_t length = std::strlen(text);
        out.fixed(length);
        out.buffer.put(text, length);
    }
}

// The entries are walked twice: first their lengths, which give the size of the one block
// that takes all texts and find a damaged entry before anything is copied; then the texts.
// Entries before a damaged one are appended all the same, and the index is not rebuilt.
void fields(Reader& in, HADLStringIndexTableSerialization& proxy) {
    HADLStringIndexTable& table = *proxy.table;
    std::uint32_t count = 0;
    in.fixed(count);
    const char* const first = in.at;
    std::size_t whole = 0;
    std::size_t bytes = 0;
    for (; whole < count; ++whole) {
        std::uint64_t length = 0;
        if (in.left() < sizeof length) break;
        std::memcpy(&length, in.at, sizeof length);
        if (length > in.left() - sizeof length) break;
        in.at += sizeof length + length;
        bytes += length + 1;
    }
    if (whole != 0) {
        char* text = table.newTextBlock(bytes);
        table.strings.reserve(table.strings.size() + whole);
        const char* from = first;
        for (std::size_t i = 0; i < whole; ++i) {
            std::uint64_t length = 0;
            std::memcpy(&length, from, sizeof length);
            from += sizeof length;
            std::memcpy(text, from, length);
            text[length] = '\0';
            table.strings.push_back(text);
            text += length + 1;
            from += length;
        }
    }
    if (whole != count) damaged();
    table.rebuildIndex();
}

template <class IO>
void fields(IO& io, HADLStringIndexTable& table) {
    HADLStringIndexTableSerialization proxy{&table};
    object(io, proxy);
}

template <class IO>
void fields(IO& io, HADLStringMatchTable& table) {
    object(io, static_cast<HADLStringIndexTable&>(table));
}

using HADLPrimaryMap = LoomHashMap<unsigned, HADLVectorForTuple<unsigned>>;

void fields(Writer& out, HADLPrimaryMap& map) {
    out.fixed(std::uint64_t(map.size()));
    for (auto& entry : map) {
        out.fixed(entry.first);
        object(out, entry.second);
    }
}

void fields(Reader& in, HADLPrimaryMap& map) {
    std::uint64_t count = 0;
    in.fixed(count);
    // A key and a count at least per entry.
    if (count > in.left() / 12) damaged();
    map.clear();
    map.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        unsigned key = 0;
        HADLVectorForTuple<unsigned> value;
        in.fixed(key);
        object(in, value);
        map[key] = std::move(value);
    }
}

// Archive order: as declared, except that members added later stand at the end.
template <class IO>
void fields(IO& io, HADLDatabase& db) {
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
    io.fixed(db.tesselLibClauseButNoInsts, db.enableVhdlVerilogConfig);
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
void object(IO& io, C& value) {
    if (io.template firstOf<C>()) io.throughBoost(value);
    else fields(io, value);
}

// Called by Boost after it has handled the preamble of a class's first object.
template <class Archive, class C>
void fromBoost(Archive&, C& value) {
    if constexpr (Archive::is_saving::value) {
        activeWriter->fromBoost();
        fields(*activeWriter, value);
    } else {
        activeReader->fromBoost();
        fields(*activeReader, value);
    }
}

} // namespace

namespace boost {
namespace serialization {

// clang-format off
#define HADL_ARCHIVED(...)                                                                     \
    template <class Archive>                                                                   \
    void serialize(Archive& ar, __VA_ARGS__& value, unsigned)                                  \
    {                                                                                          \
        fromBoost(ar, value);                                                                  \
    }
// clang-format on

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
void serialize(Archive& ar, HADLVectorLayer<T>& layer, unsigned) {
    fromBoost(ar, layer);
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorForTuple<T>& list, unsigned) {
    fromBoost(ar, list);
}

template <class Archive, class T>
void serialize(Archive& ar, HADLVectorForIndexing<T>& table, unsigned) {
    fromBoost(ar, table);
}

} // namespace serialization
} // namespace boost

namespace {

const char kSignature[kHadlSignatureBytes + 1] = "\x16\0\0\0\0\0\0\0serialization::archive";

// The header of a binary archive as Boost 1.72 writes it: the signature with its
// length, the archive library version in two bytes, the sizes of int, long, float and
// double, and the int 1 for the byte order. The Boost of the build may be newer and
// would write its own version.
void writeHeader(OutBuffer& buffer) {
    buffer.put(kSignature, kHadlSignatureBytes);
    const std::uint16_t version = kHadlArchiveLibraryVersion;
    const unsigned char sizes[4] = {sizeof(int), sizeof(long), sizeof(float), sizeof(double)};
    const int one = 1;
    buffer.put(reinterpret_cast<const char*>(&version), sizeof version);
    buffer.put(reinterpret_cast<const char*>(sizes), sizeof sizes);
    buffer.put(reinterpret_cast<const char*>(&one), sizeof one);
}

} // namespace

bool hadlHasArchiveSignature(const char* data, std::size_t size) {
    return size >= kHadlSignatureBytes && std::memcmp(data, kSignature, kHadlSignatureBytes) == 0;
}

void hadlWriteDatabase(const HADLDatabase& db, HADLArchiveSink& sink) {
    OutBuffer buffer(sink);
    {
        writeHeader(buffer);
        buffer.lendToBoost();
        boost::archive::binary_oarchive ar(buffer, boost::archive::no_header);
        buffer.takeFromBoost();
        Writer out{buffer, ar, ++archiveSerial};
        activeWriter = &out;
        try {
            object(out, const_cast<HADLDatabase&>(db));
        } catch (...) {
            activeWriter = nullptr;
            throw;
        }
        activeWriter = nullptr;
    }
    buffer.finish();
}

bool hadlReadDatabase(const char* data, std::size_t size, HADLDatabase& db) {
    if (!hadlHasArchiveSignature(data, size)) return false;
    InBuffer buffer(data, size);
    std::unique_ptr<boost::archive::binary_iarchive> ar;
    try {
        ar = std::make_unique<boost::archive::binary_iarchive>(buffer, 0);
    } catch (...) {
        return false;
    }
    // Older library versions encode preambles, versions and counts in other widths; a
    // newer one than Boost 1.72's is refused as Boost 1.72 refuses it, whatever the
    // Boost of the build would read.
    const boost::serialization::library_version_type version = ar->get_library_version();
    if (version < boost::serialization::library_version_type(8) ||
        boost::serialization::library_version_type(kHadlArchiveLibraryVersion) < version)
        return false;
    db = HADLDatabase();
    Reader in{buffer, *ar, ++archiveSerial, buffer.next(), buffer.end()};
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
