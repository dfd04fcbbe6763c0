// Helpers of the pre-scanner tests: a scratch folder of source files, removed at the
// end; the folder of the corpus and the conformance suites; a message counter.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

#include "hdl/base/Message.h"

class SortTestFiles {
public:
    SortTestFiles();
    ~SortTestFiles();
    // Writes `text` to `name` under the folder and returns the full path.
    std::string write(const std::string& name, const std::string& text) const;
    std::string path(const std::string& name) const { return dir_ + "/" + name; }

private:
    std::string dir_;
};

// The shared folder beside the repository.
inline const std::string kSharedDir = std::string(SIFT_SOURCE_DIR) + "/../shared";

// Messages counted since the counter was registered as the sink's callback.
size_t& sortTestMessages();
void countSortTestMessage(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list);
