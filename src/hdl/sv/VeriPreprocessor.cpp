#include "hdl/sv/VeriPreprocessor.h"

namespace hdl {

struct VeriPreprocessor::Impl {};

VeriPreprocessor::VeriPreprocessor(VeriPreprocessorOptions options)
    : options_(std::move(options)), impl_(std::make_unique<Impl>()) {}
VeriPreprocessor::~VeriPreprocessor() = default;
bool VeriPreprocessor::pushFile(const std::string&) { return false; }
void VeriPreprocessor::pushText(std::string, const std::string&) {}
VeriToken VeriPreprocessor::next() { return VeriToken{}; }
VeriKeywordSet VeriPreprocessor::keywordSet() const { return VERI_KW_SV2012; }
void VeriPreprocessor::resetMacros() { macros_.clear(); }
const VeriExpansion* VeriPreprocessor::expansion(uint32_t) const { return nullptr; }

} // namespace hdl
