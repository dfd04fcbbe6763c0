// Lists of records: a plain ordered list, and a table addressed by id whose slot 0 is
// reserved. Both offer the checked access `at` that reports an index out of range.
#pragma once

#include <vector>

// Prints the out-of-range report and a back trace, then throws the text "out_of_range".
[[noreturn]] void hadlReportOutOfRange(unsigned index, std::size_t size);

template <typename T>
class HADLVectorForTuple : public std::vector<T> {
public:
    using std::vector<T>::vector;

    T& at(unsigned index) {
        if (index >= this->size()) hadlReportOutOfRange(index, this->size());
        return (*this)[index];
    }
    const T& at(unsigned index) const {
        if (index >= this->size()) hadlReportOutOfRange(index, this->size());
        return (*this)[index];
    }
};

template <typename T>
class HADLVectorForIndexing : public HADLVectorForTuple<T> {
public:
    HADLVectorForIndexing() : HADLVectorForTuple<T>(1) {}

    // Every clear keeps the reserved slot 0.
    void clear() {
        std::vector<T>::clear();
        this->emplace_back();
    }
};
