# The store in a SQLite file and where it lies, the sample and the generator. Needs the tables only, so that
# tools need no more.
find_package(SQLite3 REQUIRED)
add_library(tlm_server_store STATIC
  src/paths.cpp src/sqliteDb.cpp src/sqliteFile.cpp src/sqliteOpen.cpp src/sqliteSchema.cpp src/sqliteStore.cpp
  src/sqliteValues.cpp)
target_link_libraries(tlm_server_store PUBLIC tlm_server_tables SQLite::SQLite3 PRIVATE tlm_options)
