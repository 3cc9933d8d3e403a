# SPDX-License-Identifier: Apache-2.0
# Writes the files below ROOT, in gzip, as C++: cmake -D ROOT=... -D FILES=... -D OUTPUT=... -P this
cmake_minimum_required(VERSION 3.25)
list(SORT FILES)
set(arrays "")
set(table "")
set(number 0)
foreach(file ${FILES})
  execute_process(COMMAND gzip -9nc ${ROOT}/${file} OUTPUT_FILE ${OUTPUT}.gz COMMAND_ERROR_IS_FATAL ANY)
  file(READ ${OUTPUT}.gz bytes HEX)
  file(SHA256 ${ROOT}/${file} tag)
  string(SUBSTRING ${tag} 0 16 tag)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "(................................................................................)" "\\1\n" bytes "${bytes}")
  string(APPEND arrays "const unsigned char file${number}[] = {\n${bytes}0};\n")
  string(APPEND table "    {\"/${file}\", \"${tag}\", contentOf(file${number})},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include \"panel/http/pageReply.h\"

namespace {

${arrays}
template <std::size_t size>
std::string_view contentOf(const unsigned char (&file)[size]) {
    return {reinterpret_cast<const char*>(file), size - 1};
}

}  // namespace

namespace papanel {

const PageFile pageFiles[] = {
${table}};
const std::size_t pageFileCount = ${number};

}  // namespace papanel
")
