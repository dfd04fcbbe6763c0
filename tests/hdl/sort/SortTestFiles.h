// A scratch folder of source files for the pre-scanner tests, removed at the end.
#pragma once

#include <string>

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
