#include "sift/scan/HADLInputChain.h"

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "hdl/sv/VeriMessageIds.h"
#include "runtime/LoomEnvelope1735.h"
#include "runtime/LoomMsgMgrInstance.h"
#include "sift/base/HADLMessages.h"
#include "sift/base/HADLMsgCapture.h"
#include "sift/scan/HADLIncludeTracer.h"
#include "sift/scan/HADLNeedDecryptionCache.h"
#include "sift/scan/HADLSifter.h"

HADLTracingInputStream::HADLTracingInputStream(std::istream* in, std::string name)
    : hdl::SourceStream(in), fileName(std::move(name)) {}

HADLTracingInputStream::~HADLTracingInputStream() {
    if (HADLIncludeTracer* tracer = HADLSifter::instance().skimTracker) tracer->leave(fileName);
}

namespace {

// Files a message of the parent's catalogue. A file is read more than once in a run
// (the skim, then the parse), each time through the reader: what is filed already
// is not filed again.
void fileCatalogueMessage(const std::string& name, unsigned line, const LoomMsgMgrInstance& message) {
    HADLDatabase& db = HADLSifter::instance();
    if (unsigned fileId = db.fileNames.find(name.c_str()); fileId && fileId < db.fileMsgs.size()) {
        unsigned fmtId = db.fmtStrs.find(message.getMessageBody().c_str());
        for (const HADLDatabase::Msg& m : db.fileMsgs.at(fileId))
            if (fmtId && m.fmtId == fmtId && m.line == line) return;
    }
    addManagerMessage(db, name, line, message);
}

void reportDecryptionDenied(const std::string& name, int code) {
    std::string text = "reading a protected region of " + name + " is denied by its rights (" +
                       (code == ieee1735::RightsEval::Denied ? "no decryption for analysis" : "unreadable rights") +
                       ")";
    fileCatalogueMessage(name, 1, managerMessage<hadl_msg::ProtectedSourceUnreadable>(text.c_str()));
}

// A file that cannot be read is the front-end's to report, at the file; an envelope
// that cannot be opened goes to the parent's catalogue, at its line.
void reportEnvelopeDiag(const LoomEnvelope1735::EnvelopeDiag& diag) {
    if (diag.kind == LoomEnvelope1735::EnvelopeDiag::Envelope) {
        fileCatalogueMessage(diag.path, diag.line, managerMessage<hadl_msg::ProtectedSourceUnreadable>(diag.what()));
        return;
    }
    hdl::ColLineFile loc = hdl::LineFile::StartOf(diag.path);
    hdl::Message::Tell<hdl::veri_msg::StreamFailed>(&loc, diag.what());
}

// An open or a read that fails at a stream's first use (the reader reads only then) is
// reported as a failure found at once is.
const bool lateDiagsReported = (LoomEnvelope1735::setLateDiagHandler(reportEnvelopeDiag), true);

} // namespace

hdl::SourceStream* openSourceStream(const char* name) {
    std::string path = name ? name : "";
    auto* stream = new HADLTracingInputStream(nullptr, path);
    // The existence check is the reader's own: a file that is not there comes back as
    // a "missing" failure, not reported, and the stream is simply not open.
    // A registered file is read whenever it is asked for; a file outside the cache is
    // mostly an include, which the skim asks for again without reading it once it knows
    // what the include does.
    NeedDecryptionEntry* entry = NeedDecryptionCache::find(path);
    try {
        stream->attach(entry ? LoomEnvelope1735::getPlnStream(path, entry->state, ieee1735::RightsEval::Analysis,
                                                              reportDecryptionDenied)
                             : LoomEnvelope1735::getPlnStreamOnDemand(
                                   path, stream->scratchState, ieee1735::RightsEval::Analysis, reportDecryptionDenied));
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        if (!diag.missing) reportEnvelopeDiag(diag);
    } catch (...) {
        // The stream stays without input, as for a file that cannot be read.
        fileCatalogueMessage(
            path, 1,
            managerMessage<hadl_msg::ProtectedSourceFailed>((path + ": ").c_str(), "unrecognized exception caught"));
    }
    if (HADLIncludeTracer* tracer = HADLSifter::instance().skimTracker) tracer->enter(path);
    return stream;
}

bool protectedSourceLine(const char* file, uint32_t line, uint32_t* sourceLine) {
    const bool within = LoomEnvelopeMap1735::isWithinEnvelope(file, line, 0);
    *sourceLine = LoomEnvelopeMap1735::getOriginalLineNo(file, line);
    return within;
}
