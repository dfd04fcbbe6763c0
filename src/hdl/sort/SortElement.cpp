#include "hdl/sort/SortElement.h"

#include <algorithm>

namespace hdl {

void FileElement::declare(const std::string& name) {
    if (std::find(declaredNames.begin(), declaredNames.end(), name) == declaredNames.end())
        declaredNames.push_back(name);
}

} // namespace hdl
