# Writes a C++ source that holds a text file as bytes: cmake -DINPUT=... -DOUTPUT=... -DNAME=... -P embed.cmake
file(READ ${INPUT} hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
# Regular expressions of CMake have no counts: sixteen bytes a line.
set(byte "0x[0-9a-f][0-9a-f],")
string(REPEAT "${byte}" 16 line)
string(REGEX REPLACE "(${line})" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT} "#include <cstddef>
namespace tlm::server {
extern const unsigned char ${NAME}[];
extern const std::size_t ${NAME}Size;
const unsigned char ${NAME}[] = {
${bytes}
};
const std::size_t ${NAME}Size = ${size};
}  // namespace tlm::server
")
