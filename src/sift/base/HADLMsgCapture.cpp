#include "sift/base/HADLMsgCapture.h"

#include <cstdio>
#include <vector>

#include "hdl/sv/VeriParserMessageIds.h"
#include "runtime/LoomEnvelope1735.h"
#include "runtime/LoomMsgMgrInstance.h"
#include "sift/base/HADLMessages.h"
#include "sift/database/HADLDatabase.h"

std::string HADLMsgCapture::lastAnalyzedFile;

namespace {

HADLMsgCapture* inUse = nullptr;
char formatBuffer[4096];
char argumentBuffer[4096];

void plainCallBack(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* loc, const char* format,
                   va_list args) {
    if (inUse) inUse->onMessage(type, id, loc, format, args, false);
}

void elabErrorsCallBack(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* loc, const char* format,
                        va_list args) {
    if (inUse) inUse->onMessage(type, id, loc, format, args, true);
}

// Copies `format` with "%s" in place of each conversion G, c, d, s, u and x, and collects
// their arguments, each printed through its own conversion. After any other character
// that follows a '%' the character is kept, without the '%', and nothing is fetched: so
// "%%" gives "%", and a length modifier, a width or a flag ("%ld", "%5d") is not
// understood, "ld" and "5d" stay. Every '%' adds an argument, empty for those. The
// front-end's formats use the six conversions alone, so that arguments stay in step.
void rewriteFormat(const char* format, va_list args, std::vector<std::string>& out) {
    size_t n = 0;
    const size_t limit = 4093;
    for (const char* p = format; *p && n < limit; ++p) {
        if (*p != '%') {
            formatBuffer[n++] = *p;
            continue;
        }
        argumentBuffer[0] = '\0';
        const char c = p[1];
        switch (c) {
        case 'G': std::snprintf(argumentBuffer, sizeof argumentBuffer, "%G", va_arg(args, double)); break;
        case 'c': std::snprintf(argumentBuffer, sizeof argumentBuffer, "%c", va_arg(args, int)); break;
        case 'd': std::snprintf(argumentBuffer, sizeof argumentBuffer, "%d", va_arg(args, int)); break;
        case 'u': std::snprintf(argumentBuffer, sizeof argumentBuffer, "%u", va_arg(args, unsigned)); break;
        case 'x': std::snprintf(argumentBuffer, sizeof argumentBuffer, "%x", va_arg(args, unsigned)); break;
        case 's': {
            const char* text = va_arg(args, const char*);
            std::snprintf(argumentBuffer, sizeof argumentBuffer, "%s", text ? text : "(null)");
            break;
        }
        default:
            out.emplace_back();
            if (c) formatBuffer[n++] = *++p;
            continue;
        }
        if (n + 2 > limit) break;
        formatBuffer[n++] = '%';
        formatBuffer[n++] = 's';
        out.emplace_back(argumentBuffer);
        ++p;
    }
    formatBuffer[n] = '\0';
}

// The last file of the project's own sources, for a message that comes before any file
// is known; empty when there is none.
std::string lastSourceFile(const HADLDatabase& db) {
    for (unsigned id = db.fileNames.size(); id-- > 1;)
        if (id < db.fileAttrs.size() && !db.fileAttrs.at(id).isStdVhdl) return db.fileNames.getString(id);
    return {};
}

unsigned fileIdFor(HADLDatabase& db, const char* name) {
    unsigned id = db.fileNames.find(name);
    if (!id) {
        id = db.fileNames.insert(name);
        db.resizeTables();
    }
    return id;
}

} // namespace

HADLMsgCapture::HADLMsgCapture(HADLDatabase& database) : database(database), typeMap{0, 1, 2, 3, 4, 5, 1} {}

HADLMsgCapture::~HADLMsgCapture() {
    if (inUse == this) {
        hdl::Message::RegisterCallBackMsg(nullptr);
        inUse = nullptr;
    }
}

HADLMsgCapture* HADLMsgCapture::current() { return inUse; }

void HADLMsgCapture::start(int verbosity, bool elabErrors) {
    database.fileMsgs.resize(database.fileNames.size());
    inUse = this;
    idTypes.clear();
    allowList.clear();
    switch (verbosity) {
    case 1: typeMap[2] = typeMap[4] = 3; break;
    case 2: typeMap[4] = 3; break;
    case 3:
    case -1: break;
    default: typeMap[1] = typeMap[2] = typeMap[4] = 3; break;
    }
    using namespace hadl_msg;
    for (const hdl::MessageId& id :
         {kVeri1137, kVeri1138, kVeri1154, kVeri1158, kVeri1261, kVeri1281, kVhdl1238, kVhdl1260, kVhdl1283, kVhdl1261})
        idTypes[id.id] = 1;
    idTypes[kVeri1206.id] = 2;
    if (verbosity == 3) idTypes[hdl::veri_msg::kAnalyzingFile.id] = idTypes[kVeri9003.id] = 4;
    hdl::Message::RegisterCallBackMsg(elabErrors ? elabErrorsCallBack : plainCallBack);
}

void HADLMsgCapture::stop() { hdl::Message::RegisterCallBackMsg(nullptr); }

void HADLMsgCapture::allow(const char* id) {
    if (id && !allowList.find(id)) allowList.insert(id);
}

unsigned HADLMsgCapture::effectiveType(unsigned type, const char* id) const {
    unsigned t = type <= 6 ? typeMap[type] : type;
    if (id) {
        auto it = idTypes.find(id);
        if (it != idTypes.end()) t = it->second;
    }
    return t;
}

void HADLMsgCapture::onMessage(hdl::msg_type_t type, const char* id, const hdl::ColLineFile* location,
                               const char* format, va_list arguments, bool errorsOnly) {
    // The file in hand is noted whether or not the message itself counts.
    const char* file = hdl::LineFile::GetFileName(location);
    if (file) {
        lastAnalyzedFile = file;
    } else if (id && hdl::veri_msg::kAnalyzingFile == std::string_view(id)) {
        std::vector<std::string> announced;
        va_list copy;
        va_copy(copy, arguments);
        rewriteFormat(format ? format : "", copy, announced);
        va_end(copy);
        if (announced.size() >= 2) lastAnalyzedFile = announced[1];
    }
    unsigned t = type;
    if (!errorsOnly) {
        if (id && allowList.size() > 1 && !allowList.find(id)) return;
        t = effectiveType(type, id);
        if (t == 3) return;
    }
    if (t != 1 && t != 2) t = 4;
    std::vector<std::string> args;
    va_list copy;
    va_copy(copy, arguments);
    rewriteFormat(format ? format : "", copy, args);
    va_end(copy);
    if (errorsOnly) {
        if (t == 1) database.status.isElabError = true;
        return;
    }
    unsigned line = hdl::LineFile::GetLineNo(location);
    std::string fmt = formatBuffer;
    std::string fileName;
    if (!file) {
        fileName = lastAnalyzedFile.empty() ? lastSourceFile(database) : lastAnalyzedFile;
        if (fileName.empty()) return; // no file at all to tell it with
        line = 1;
    } else {
        fileName = file;
        // Both answers are about the line of the text the front-end read.
        const bool within = LoomEnvelopeMap1735::isWithinEnvelope(file, line, 0);
        line = LoomEnvelopeMap1735::getOriginalLineNo(file, line);
        if (within) {
            if (type != hdl::MSG_ERROR) return;
            fmt = "Invalid code in protected region at [%s:%s]";
            args = {fileName, std::to_string(line)};
        }
    }
    HADLDatabase::Msg msg;
    msg.line = line;
    msg.type = t;
    for (const std::string& a : args) msg.args.push_back(database.argStrs.insert(a.c_str()));
    msg.fmtId = database.fmtStrs.insert(fmt.c_str());
    unsigned fileId = fileIdFor(database, fileName.c_str());
    database.fileMsgs.at(fileId).push_back(std::move(msg));
}

void addManagerMessage(HADLDatabase& db, const std::string& fileName, unsigned line,
                       const LoomMsgMgrInstance& instance) {
    HADLDatabase::Msg msg;
    switch (instance.getType()) {
    case LoomMsgMgrInstance::Info:
    case LoomMsgMgrInstance::Warning: msg.type = 2; break;
    default: msg.type = 1; break;
    }
    msg.line = line;
    msg.fmtId = db.fmtStrs.insert(instance.getMessageBody().c_str());
    unsigned fileId = fileIdFor(db, fileName.c_str());
    db.fileMsgs.at(fileId).push_back(std::move(msg));
}
