# Writes the panel's page files into a C++ source, byte for byte:
#   cmake -DOUTPUT=<file.cpp> -DPAGE=<folder> -P Embed.cmake
set(files "index.html|/|text/html" "panel.js|/panel.js|text/javascript"
          "panel.css|/panel.css|text/css")
set(arrays "")
set(entries "")
set(index 0)
foreach(file IN LISTS files)
  string(REPLACE "|" ";" parts "${file}")
  list(GET parts 0 name)
  list(GET parts 1 path)
  list(GET parts 2 type)
  file(READ "${PAGE}/${name}" bytes HEX)
  string(LENGTH "${bytes}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "const char kFile${index}[] = {${bytes}};\n")
  string(APPEND entries "        {\"${path}\", \"${type}; charset=utf-8\", {kFile${index}, ${size}}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}" "// Written by tools/simulator/panel/Embed.cmake from the page's files.\n"
  "#include \"PanelPage.h\"\n\nnamespace simulator {\nnamespace {\n${arrays}}\n\n"
  "const std::vector<PanelFile>& panelFiles() {\n"
  "    static const std::vector<PanelFile> files = {\n${entries}    };\n    return files;\n}\n\n"
  "} // namespace simulator\n")
