// Ids of the command framework's message formats.
#pragma once

namespace hdl {

// The id of a framework format ("CMD-1002"), or null for a format it does not know.
const char* commandMessageId(const char* format);

} // namespace hdl
