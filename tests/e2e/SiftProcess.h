// Runs the built sift binary as a parent would: with an argument, optional standard
// input, in a working directory; collects standard output and the exit status.
#pragma once

#include <string>

struct SiftResult {
    std::string out;
    int status = -1; // exit status, or -1 when the process died by a signal
    int signal = 0; // the signal that ended it, 0 otherwise
};

// `arg` null runs sift without an argument.
SiftResult runSift(const char* arg, const std::string& input = "", const std::string& dir = ".");

// A shared-memory object holding a script, removed again at destruction as the
// parent's task.
class ShmScript {
public:
    // `size` beyond the text pads the object with NUL bytes.
    ShmScript(const std::string& name, const std::string& text, size_t size = 0);
    ~ShmScript();
    ShmScript(const ShmScript&) = delete;
    ShmScript& operator=(const ShmScript&) = delete;

private:
    std::string name_;
};

// A fresh directory under the system's temporary directory.
std::string makeTempDir();
void writeFile(const std::string& path, const std::string& text);
// A name unique to this test process.
std::string uniqueName(const std::string& stem);
