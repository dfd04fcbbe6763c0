#include "sift/scan/HADLIncludeTracer.h"

#include <algorithm>

#include "sift/database/HADLDatabase.h"

void HADLIncludeTracer::enter(const std::string& name) {
    unsigned id = db->fileNames.find(name.c_str());
    if (id == 0) id = db->insertFileName(name, 14, ""); // an include: the default library
    if (!stack.empty()) {
        auto& included = db->fileProps.at(stack.back()).includedFiles;
        if (std::find(included.begin(), included.end(), id) == included.end()) included.push_back(id);
    }
    stack.push_back(id);
}

void HADLIncludeTracer::leave(const std::string& name) {
    // Streams nest, so the name is not compared with the top.
    if (db->fileNames.find(name.c_str()) != 0 && !stack.empty()) stack.pop_back();
}
