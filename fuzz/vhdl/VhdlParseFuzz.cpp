// Feeds arbitrary bytes to the VHDL lexer and parser in every language mode; the first
// byte picks the mode. The text is also analysed into a library and resolved. Any
// crash, hang or leak is a finding.
#include <cstddef>
#include <cstdint>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "hdl/vhdl/VhdlParser.h"
#include "hdl/vhdl/VhdlVisitor.h"

namespace {

void Silent(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

// Walks every node so that broken trees are caught too.
class Walker : public hdl::VhdlVisitor {
public:
    void PreVisit(hdl::VhdlTreeNode& node) override { count += node.GetClassId() != 0; }
    size_t count = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    hdl::Message::RegisterCallBackMsg(Silent);
    unsigned mode = hdl::VHDL_87 + data[0] % 6;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    hdl::Arena arena;
    hdl::VhdlLexer lexer(text, 1, mode);
    hdl::VhdlParser parser(arena, text, lexer.Tokenize(), 1, mode);
    Walker walker;
    hdl::Arena copies;
    for (hdl::VhdlDesignUnit* unit : parser.ParseDesignFile()) {
        walker.TraverseNode(unit);
        if (!unit->Copy(copies)->IsEqual(unit)) __builtin_trap();
    }
    // Once more through the libraries, which adds name resolution and binding.
    hdl::vhdl_file::AnalyzeText(text, "fuzz.vhd", "work", mode);
    hdl::vhdl_file::ResolveAll();
    hdl::vhdl_file::Reset();
    return 0;
}
