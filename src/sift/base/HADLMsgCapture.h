// Takes the front-end's messages while a phase runs, decides by type and id whether
// they count, turns each into a compact record (format with "%s" in place of every
// conversion, arguments as texts) and stores it with the file and line it concerns.
// Text from inside a protected envelope never gets out.
#pragma once

#include <cstdarg>
#include <map>
#include <string>

#include "hdl/base/Message.h"
#include "runtime/LoomMsgMgrInstance.h"
#include "sift/database/HADLStringIndexTable.h"

class HADLDatabase;
class HADLMsgCapture {
public:
    explicit HADLMsgCapture(HADLDatabase& database);
    ~HADLMsgCapture();
    HADLMsgCapture(const HADLMsgCapture&) = delete;
    HADLMsgCapture& operator=(const HADLMsgCapture&) = delete;

    // Makes this the capture in use and registers the callback; with `elabErrors` only
    // errors are noted, as the database's elaboration error flag.
    void start(int verbosity, bool elabErrors);
    // The front-end prints its messages itself again.
    void stop();
    // Once the list has entries, only listed ids are looked at.
    void allow(const char* id);
    unsigned effectiveType(unsigned type, const char* id) const;
    void onMessage(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* location, const char* format,
                   va_list arguments, bool errorsOnly);

    static HADLMsgCapture* current();
    // The file a message without location is stored with: the one the Verilog front-end
    // announced last (veri_msg::kAnalyzingFile) or the file of the last located message,
    // whichever came later; lasts the whole process. Before either, the last source file
    // of the database stands in.
    static std::string lastAnalyzedFile;

    HADLDatabase& database;
    HADLStringIndexTable allowList;
    unsigned typeMap[7];
    std::map<std::string, unsigned> idTypes;
};

// Stores a message of the in-house manager for the file (added if unknown) and line.
void addManagerMessage(HADLDatabase& db, const std::string& fileName, unsigned line,
                       const LoomMsgMgrInstance& instance);

// A message of the parent's catalogue (a text of hadl_msg) as the in-house manager makes
// it, with the mask of its type.
template <const hdl::MessageText& M, typename... A>
LoomMsgMgrInstance managerMessage(A... args) {
    static_assert(hdl::message_format::FormatFits<A...>(M.format), "the arguments do not fit the message's format");
    const unsigned mask = M.id.type == hdl::MSG_ERROR ? LoomMsgMgrInstance::Error : LoomMsgMgrInstance::Warning;
    return LoomMsgMgrInstance::create(mask, M.format, args...);
}
