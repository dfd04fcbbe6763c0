#include "sift/scan/HADLInputChain.h"

#include "hdl/base/LineFile.h"
#include "hdl/base/Message.h"
#include "runtime/LoomEnvelope1735.h"
#include "sift/scan/HADLIncludeTracer.h"
#include "sift/scan/HADLNeedDecryptionCache.h"
#include "sift/scan/HADLSifter.h"

HADLTracingInputStream::HADLTracingInputStream(std::istream* in, std::string name)
    : hdl::SourceStream(in), fileName(std::move(name)) {}

HADLTracingInputStream::~HADLTracingInputStream() {
    if (HADLIncludeTracer* tracer = HADLSifter::instance().skimTracker)
        tracer->leave(fileName);
}

namespace {

void reportDecryptionDenied(const std::string& name, int code) {
    hdl::ColLineFile loc = hdl::LineFile::StartOf(name);
    hdl::Message::Error("VERI-1000", &loc, "reading '%s' is not permitted (%d)", name.c_str(), code);
}

void reportEnvelopeDiag(const LoomEnvelope1735::EnvelopeDiag& diag) {
    hdl::ColLineFile loc = hdl::LineFile::StartOf(diag.path);
    hdl::Message::Error("VERI-1000", &loc, "%s", diag.what());
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
                             : LoomEnvelope1735::getPlnStreamOnDemand(path, stream->scratchState,
                                                                      ieee1735::RightsEval::Analysis,
                                                                      reportDecryptionDenied));
    } catch (const LoomEnvelope1735::EnvelopeDiag& diag) {
        if (!diag.missing)
            reportEnvelopeDiag(diag);
    }
    if (HADLIncludeTracer* tracer = HADLSifter::instance().skimTracker)
        tracer->enter(path);
    return stream;
}
