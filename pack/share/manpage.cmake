# Writes the man page pkgupdate-pack.1 from the command's own help texts, so that
# they have one home: cmake -DPACK=<pkgupdate-pack> -DOUT=<file> -P manpage.cmake
execute_process(COMMAND ${PACK} --version OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REGEX REPLACE "^pkgupdate-pack ([^ ]+).*" "\\1" version "${version}")
set(page ".TH PKGUPDATE-PACK 1 \"\" \"pkgupdate-pack ${version}\" \"User Commands\"\n")
string(APPEND page ".SH NAME\npkgupdate-pack \\- build, sign, check and simulate update packages\n")
# The subcommands as the command's own usage lists them ("  name   summary").
execute_process(COMMAND ${PACK} --help OUTPUT_VARIABLE usage)
string(REGEX MATCHALL "\n  [a-z]+ " listed "${usage}")
string(REGEX REPLACE "[\n ]" "" subcommands "${listed}")
foreach(section IN ITEMS "" ${subcommands})
    if(section STREQUAL "")
        execute_process(COMMAND ${PACK} --help OUTPUT_VARIABLE text)
        string(APPEND page ".SH DESCRIPTION\n")
    else()
        execute_process(COMMAND ${PACK} ${section} --help OUTPUT_VARIABLE text)
        string(TOUPPER "${section}" title)
        string(APPEND page ".SH ${title}\n")
    endif()
    # Preformatted as the terminal shows it: backslashes doubled, and lines that
    # begin with a dot or quote kept from troff.
    string(REPLACE "\\" "\\e" text "${text}")
    string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
    string(APPEND page ".nf\n${text}.fi\n")
endforeach()
file(WRITE ${OUT} "${page}")
