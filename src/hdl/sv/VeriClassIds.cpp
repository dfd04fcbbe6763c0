#include "hdl/sv/VeriClassIds.h"

namespace hdl {

const char* veriClassName(uint32_t code) {
    static const char* const names[] = {
#define HDL_VERI_CLASS_NAME(name, index) #name,
        HDL_VERI_CLASS_IDS(HDL_VERI_CLASS_NAME)
#undef HDL_VERI_CLASS_NAME
    };
    uint32_t index = code + kVeriClassIdOffset;
    return index < kVeriClassCount ? names[index] : "?";
}

} // namespace hdl
