# Writes OUTPUT, a source with the bytes of FILES.
set(text "#include \"web/page_files.h\"\n\nnamespace {\n\n")
set(list "")
set(number 0)
foreach(file IN LISTS FILES)
    get_filename_component(name ${file} NAME)
    file(READ ${file} bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND text "constexpr unsigned char kFile${number}[] = {${bytes}};\n")
    string(APPEND list "        {\"${name}\", {reinterpret_cast<const char*>(kFile${number}), sizeof kFile${number}}},\n")
    math(EXPR number "${number} + 1")
endforeach()
string(APPEND text "\n}  // namespace\n\n"
    "const std::map<std::string, std::string_view>& PageFiles() {\n"
    "    static const std::map<std::string, std::string_view> files = {\n${list}    };\n"
    "    return files;\n}\n")
file(WRITE ${OUTPUT} "${text}")
