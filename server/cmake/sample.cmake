# Joins the sample's files into one: cmake -DFOLDER=... -DOUTPUT=... -P sample.cmake
file(GLOB_RECURSE files RELATIVE ${FOLDER} ${FOLDER}/*.tsv)
list(SORT files)
file(WRITE ${OUTPUT} "")
foreach(name IN LISTS files)
  file(READ ${FOLDER}/${name} text)
  file(APPEND ${OUTPUT} "@file ${name}\n${text}")
endforeach()
