# Puts the page of `qzsignal plot` together: page.html with styles and scripts in it, as parts of a table in C++.
# cmake -DPAGE=page-folder -DMODULES=node_modules -DRESULT=PageTemplate.cpp -P page.cmake

foreach(part page.html page.css page.js)
    file(READ "${PAGE}/${part}" "${part}")
endforeach()
file(READ "${MODULES}/uplot/dist/uPlot.min.css" uplot_css)
file(READ "${MODULES}/uplot/dist/uPlot.iife.min.js" uplot_js)

set(text "${page.html}")
set(parts "")
foreach(mark TITLE UPLOT_CSS PAGE_CSS DRIVE UPLOT_JS PAGE_JS)
    string(FIND "${text}" "@${mark}@" place)
    if(place LESS 0)
        message(FATAL_ERROR "page.html has no @${mark}@")
    endif()
endforeach()
string(REPLACE "@UPLOT_CSS@" "${uplot_css}" text "${text}")
string(REPLACE "@PAGE_CSS@" "${page.css}" text "${text}")

# A string literal of 65,536 characters is the longest that compilers have to take, so each script is a part.
set(rest "${text}")
foreach(mark TITLE DRIVE UPLOT_JS PAGE_JS)
    string(FIND "${rest}" "@${mark}@" place)
    string(SUBSTRING "${rest}" 0 ${place} before)
    string(LENGTH "@${mark}@" length)
    math(EXPR next "${place} + ${length}")
    string(SUBSTRING "${rest}" ${next} -1 rest)
    if(mark STREQUAL "UPLOT_JS")
        set(middle "R\"qzpage(${uplot_js})qzpage\"")
    elseif(mark STREQUAL "PAGE_JS")
        set(middle "R\"qzpage(${page.js})qzpage\"")
    else()
        set(middle "\"@${mark}@\"")
    endif()
    string(APPEND parts "    R\"qzpage(${before})qzpage\",\n    ${middle},\n")
endforeach()
string(APPEND parts "    R\"qzpage(${rest})qzpage\",\n")

file(WRITE "${RESULT}" "// Made by page.cmake.
#include \"tools/plot/PageTemplate.h\"

namespace qztool {

std::array<std::string_view, 9> const pageTemplate = {
${parts}};

} // namespace qztool
")
