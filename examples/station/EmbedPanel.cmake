# SPDX-License-Identifier: MIT
# Writes OUTPUT, a source that holds the files of the panel in the directory INPUT, as they stand.
set(text "// SPDX-License-Identifier: MIT\n// Generated from examples/station/panel.\n")
string(APPEND text "#include \"station/Panel.h\"\n\nnamespace station {\n\nnamespace {\n\n")
string(APPEND text "constexpr PanelFile kFiles[] = {\n")
foreach(file
    "/|text/html|index.html"
    "/panel/panel.css|text/css|panel.css"
    "/panel/panel.js|text/javascript|panel.js")
    string(REPLACE "|" ";" parts ${file})
    list(GET parts 0 path)
    list(GET parts 1 type)
    list(GET parts 2 name)
    file(READ ${INPUT}/${name} content)
    string(APPEND text "{\"${path}\", \"${type}; charset=utf-8\", R\"panel(${content})panel\"},\n")
endforeach()
string(APPEND text "};\n\n} // namespace\n\n")
string(APPEND text "const PanelFile* panelFile(std::string_view path) {\n")
string(APPEND text "    for (const PanelFile& file : kFiles) {\n")
string(APPEND text "        if (path == file.path) return &file;\n    }\n    return nullptr;\n}\n\n")
string(APPEND text "} // namespace station\n")
file(WRITE ${OUTPUT} "${text}")
