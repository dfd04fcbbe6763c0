target_sources(hdl_sv PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/VeriClassIds.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriTree.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VeriVisitor.cpp)
