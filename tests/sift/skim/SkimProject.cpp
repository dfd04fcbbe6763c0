#include "SkimProject.h"

#include <algorithm>

#include "hdl/sort/FileSort.h"
#include "sift/scan/HADLInputChain.h"
#include "sift/scan/HADLNeedDecryptionCache.h"
#include "sift/scan/HADLSkim.h"

SkimProject::SkimProject() {
    hdl::hdl_file_sort::Reset();
    hdl::hdl_file_sort::RegisterFlexStreamCallBack(openSourceStream);
    NeedDecryptionCache::clear();
    static_cast<HADLDatabase&>(db()) = HADLDatabase();
}

SkimProject::~SkimProject() {
    hdl::hdl_file_sort::Reset();
    static_cast<HADLDatabase&>(db()) = HADLDatabase();
}

unsigned SkimProject::add(const std::string& name, unsigned lang, const std::string& library, const std::string& text) {
    return db().insertFileName(files.write(name, text), lang, library);
}

void SkimProject::skim() { hadlDoSkim(db(), primitives); }

int SkimProject::orderOf(const std::string& name) {
    auto& order = db().parseOrder;
    auto it = std::find(order.begin(), order.end(), id(name));
    return it == order.end() ? -1 : static_cast<int>(it - order.begin());
}
