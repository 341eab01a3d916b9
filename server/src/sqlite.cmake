# The store in a SQLite file and where it lies, the sample, the generator and the check of a model. Needs the
# tables only, so that tools need no more.
enable_language(ASM)
find_package(SQLite3 REQUIRED)

get_filename_component(TLM_SAMPLE ${CMAKE_CURRENT_SOURCE_DIR}/../sample ABSOLUTE)
set(TLM_SAMPLE_TEXT ${CMAKE_CURRENT_BINARY_DIR}/sampleText.tsv)
file(GLOB_RECURSE TLM_SAMPLE_FILES CONFIGURE_DEPENDS ${TLM_SAMPLE}/*.tsv)
add_custom_command(
  OUTPUT ${TLM_SAMPLE_TEXT}
  COMMAND ${CMAKE_COMMAND} -DFOLDER=${TLM_SAMPLE} -DOUTPUT=${TLM_SAMPLE_TEXT}
          -P ${CMAKE_CURRENT_SOURCE_DIR}/cmake/sample.cmake
  DEPENDS ${TLM_SAMPLE_FILES} ${CMAKE_CURRENT_SOURCE_DIR}/cmake/sample.cmake
  VERBATIM)
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/sampleText.S CONTENT
"    .section .rodata
    .global tlmSampleText
    .global tlmSampleTextEnd
tlmSampleText:
    .incbin \"sampleText.tsv\"
tlmSampleTextEnd:
    .byte 0
    .section .note.GNU-stack,\"\",%progbits
")
set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/sampleText.S PROPERTIES
  OBJECT_DEPENDS ${TLM_SAMPLE_TEXT} COMPILE_OPTIONS -Wa,-I${CMAKE_CURRENT_BINARY_DIR})

add_library(tlm_server_store STATIC
  src/generate.cpp src/modelCheck.cpp src/paths.cpp src/sampleCell.cpp src/sampleModel.cpp src/sqliteDb.cpp
  src/sqliteFile.cpp src/sqliteOpen.cpp src/sqliteSchema.cpp src/sqliteStore.cpp src/sqliteValues.cpp
  ${CMAKE_CURRENT_BINARY_DIR}/sampleText.S)
target_link_libraries(tlm_server_store PUBLIC tlm_server_tables SQLite::SQLite3 PRIVATE tlm_options)
install(DIRECTORY ${TLM_SAMPLE}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tlm/sample)
