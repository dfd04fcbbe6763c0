#include "runtime/LoomParamMgr.h"

LoomParamMgr& LoomParamMgr::getParamMgr() {
    static LoomParamMgr* mgr = new LoomParamMgr; // lives for the process
    return *mgr;
}

void LoomParamMgr::registerStringParam(const std::string& name, const std::string& description,
                                       const std::string& defaultValue) {
    if (params_.count(name)) return;
    params_.emplace(name, Param{description, defaultValue, defaultValue});
}

void LoomParamMgr::setStringValue(const std::string& name, const std::string& value) { params_[name].value = value; }

std::string LoomParamMgr::getValueAsString(const std::string& name) const {
    auto it = params_.find(name);
    return it == params_.end() ? std::string() : it->second.value;
}

bool LoomParamMgr::isRegistered(const std::string& name) const { return params_.count(name) != 0; }
