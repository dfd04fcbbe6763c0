// The pre-scanner: reads every registered file once, through the stream callback, and
// keeps per file a FileElement with its declared units, references and unit table.
// Files are read by the skim's own scanners (Verilog with its includes, macros and
// conditional text), or by the preprocessor and the VHDL lexer where only those read
// a file right. No parse tree is built. Files and results stay for the
// process, like the front-ends' libraries.
#pragma once

#include <cstdint>

#include "hdl/base/SourceStream.h"
#include "hdl/sort/SortElement.h"

namespace hdl {

class hdl_file_sort {
public:
    static void AddIncludeDir(const char* dir);
    // A null value defines the macro without text.
    static void DefineCmdLineMacro(const char* name, const char* value);
    // Reads `file` of language `mode` (the scanner's language codes: 1..7 Verilog,
    // 8..13 VHDL, 14 include) into `library`. With `when` 2 it is read at once, so that
    // a caller tracing the stream callback sees its reads now; otherwise at the first
    // FileAt. False when the file could not be read (a message says why).
    static bool RegisterFile(const char* file, const char* library, unsigned mode, unsigned when);
    // The element of the index-th registered file; false past the last one.
    static bool FileAt(unsigned index, const FileElement** element);
    static unsigned FileCount();

    static void RegisterFlexStreamCallBack(StreamCallBack callback);
    static StreamCallBack GetFlexStreamCallBack();
    // translate_off/synthesis_off text is read too when set.
    static void SetIgnoreTranslateOff(bool ignore);

    // 0: every Verilog file is a compilation unit of its own (macros start afresh);
    // otherwise macros carry from file to file in registration order.
    static unsigned _default_compilation_unit_mode;

    // Forgets files, results and settings; for tests.
    static void Reset();
};

} // namespace hdl
