// Compiled by the tests message_arguments_fits (must compile) and
// message_arguments_misfits (must not).
#include "hdl/sv/VeriMessageIds.h"

void tell(const char* path) {
#if defined(FITS)
    hdl::Message::Tell<hdl::veri_msg::IncludeLimits>(nullptr, path, unsigned(sizeof path), unsigned(sizeof path));
#elif defined(MISFITS)
    // One size too few for "'%s' is not read: ... (%u deep, %u in all)".
    hdl::Message::Tell<hdl::veri_msg::IncludeLimits>(nullptr, path, unsigned(sizeof path));
#endif
}
