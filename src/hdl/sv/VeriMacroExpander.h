// Expands one macro use to text: arguments are expanded first, substituted into the
// body (with `" `\`" and `` handled), and the result is scanned again for further
// macro uses. The text remembers where each piece came from so that tokens lexed from
// it point at the `define body or at the call site. A macro never expands inside its
// own expansion, and the total work of one use is bounded.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hdl/base/LineFile.h"
#include "hdl/sv/VeriLexer.h"
#include "hdl/sv/VeriMacroTable.h"

namespace hdl {

struct VeriMappedText {
    std::string text;
    std::vector<VeriTextOrigin> origins; // ascending offsets

    void append(std::string_view s, const ColLineFile& from);
    // Appends src[a, b) keeping its origins.
    void appendFrom(const VeriMappedText& src, size_t a, size_t b);
    ColLineFile positionAt(size_t offset) const;
};

// Splits the argument list of a macro use. `p` points just after the macro name; on
// success it is moved past the closing parenthesis and `args` receives each argument
// (white space trimmed) as offsets into `text`. False when no list follows (p stays)
// or when the list is not closed (p at the end).
struct VeriArgSpan {
    size_t begin;
    size_t end;
};
enum class VeriArgScan { Ok, NoList, Unclosed };
VeriArgScan scanMacroArgs(std::string_view text, size_t& p, std::vector<VeriArgSpan>& args);

// True for the names of compiler directives, which are never macro uses.
bool isVeriDirectiveName(std::string_view name);

class VeriMacroExpander {
public:
    explicit VeriMacroExpander(const VeriMacroTable& macros) : macros_(macros) {}

    // Expands `macro` used at `callSite` with the given arguments into `out`. Reports
    // problems itself; false when the expansion had to be cut short.
    bool expand(const VeriMacro& macro, const std::vector<VeriMappedText>& args, const ColLineFile& callSite,
                VeriMappedText& out);

    // Quiet mode, for a reader that leaves any doubtful text to the preprocessor: the
    // expander reports nothing, and a use it would report only marks the last expansion
    // as doubtful. `__LINE__ and `__FILE__ of a use whose place the caller does not know
    // (a call site without a file) become kPlaceMarker: text that is read as a token
    // (and not skipped in a branch not taken) then holds a character no token holds.
    void setQuiet(bool quiet) { quiet_ = quiet; }
    bool doubtful() const { return doubtful_; }
    static constexpr char kPlaceMarker = '\x01';

private:
    bool expandUse(const VeriMacro& macro, const std::vector<VeriMappedText>& args, const ColLineFile& callSite,
                   VeriMappedText& out);
    void substitute(const VeriMacro& macro, const std::vector<const VeriMappedText*>& actuals, VeriMappedText& out);
    void rescan(const VeriMappedText& in, const ColLineFile& callSite, VeriMappedText& out);
    bool overBudget(const ColLineFile& at);
    // True (and the expansion doubtful) in quiet mode: the caller then says nothing.
    bool hush() { return quiet_ && (doubtful_ = true); }

    // Buffers of one nesting level, kept from use to use so that an expansion reuses
    // their room: what expandUse builds at a level, and the arguments that a rescan at
    // that level collects for the next.
    struct Level {
        std::vector<VeriMappedText> made;
        std::vector<const VeriMappedText*> actuals;
        VeriMappedText substituted;
        std::vector<VeriArgSpan> spans;
        std::vector<VeriMappedText> args;
    };
    // Each level by itself: a deeper level added must leave the buffers of the outer
    // ones in place, and a file without macro uses makes none.
    Level& levelAt(size_t depth);
    static void resetTexts(std::vector<VeriMappedText>& texts, size_t count);

    const VeriMacroTable& macros_;
    std::vector<std::unique_ptr<Level>> levels_;
    std::vector<const VeriMacro*> active_;
    size_t depth_ = 0;
    size_t expansions_ = 0;
    size_t produced_ = 0;
    bool cut_ = false;
    bool quiet_ = false;
    bool doubtful_ = false;
};

} // namespace hdl
