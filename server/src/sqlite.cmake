# The store in a SQLite file and where it lies, the sample and the generator.
find_package(SQLite3 REQUIRED)
target_sources(tlm_server_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/paths.cpp)
target_link_libraries(tlm_server_core PRIVATE SQLite::SQLite3)
