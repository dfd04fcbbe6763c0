target_sources(hdl_sv PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/VeriClassIds.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriTree.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriScope.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriVisitor.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriParser.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriParseExpr.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriParseDecl.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriParseStmt.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriParseItem.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriLibrary.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriPrettyPrinter.cpp)
