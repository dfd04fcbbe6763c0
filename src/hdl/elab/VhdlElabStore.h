// Where elaboration puts what the libraries show of it: copies of entities and of their
// architectures (named for their generic values, in the library of the original), and
// the elaborated statements of architectures. The nodes live as long as the libraries.
#pragma once

#include <string>
#include <string_view>

#include "hdl/base/Arena.h"
#include "hdl/vhdl/VhdlTree.h"

namespace hdl {

class VhdlElabStore {
public:
    static Arena& Nodes();
    static std::string_view Text(std::string_view text);
    // The copy of `original` named `name` in the original's library, made on first use.
    static VhdlEntityDecl* CopyEntity(const VhdlEntityDecl& original, const std::string& name);
    // The copy of `arch` under the copied entity, made on first use.
    static VhdlArchitectureBody* CopyArchitecture(VhdlEntityDecl& copy, const VhdlArchitectureBody& arch);
    // Frees the nodes; for tests and tools that reset the libraries too.
    static void Reset();
};

} // namespace hdl
