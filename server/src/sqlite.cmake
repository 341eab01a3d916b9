# The store in a SQLite file, the texts and paths that go with it, the sample and the generator.
find_package(SQLite3 REQUIRED)
target_sources(tlm_server_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/paths.cpp
  ${CMAKE_CURRENT_LIST_DIR}/text1251.cpp)
target_link_libraries(tlm_server_core PRIVATE SQLite::SQLite3)
