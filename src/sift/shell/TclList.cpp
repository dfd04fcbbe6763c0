#include "sift/shell/TclList.h"

#include <tcl.h>

namespace hdl {

bool splitTclList(const std::string& text, StringArray& out) {
    out.clear();
    int count = 0;
    const char** elements = nullptr;
    if (Tcl_SplitList(nullptr, text.c_str(), &count, &elements) != TCL_OK) return false;
    out.assign(elements, elements + count);
    Tcl_Free(reinterpret_cast<char*>(elements));
    return true;
}

} // namespace hdl
