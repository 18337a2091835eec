# Makes the linker's export map from the list of public names.

# Writes `map` from `names`. The list is read when the build is configured, which happens again whenever it changes; a map
# that stays the same keeps its time, so that nothing is linked needlessly.
function(qzsignal_export_map names map)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${names})
    file(STRINGS ${names} lines REGEX "^[^#]")
    set(entries "")
    foreach(line ${lines})
        if(NOT line MATCHES "^(class|variable|operator<<) ([A-Za-z_0-9]+)$")
            message(FATAL_ERROR "${names}: neither a class, a variable nor an output operator: '${line}'")
        endif()
        set(kind ${CMAKE_MATCH_1})
        set(name ${CMAKE_MATCH_2})
        if(kind STREQUAL "class")
            # A question mark stands for the space, which a pattern may not contain.
            string(APPEND entries "      ${name}::*;\n      vtable?for?${name};\n"
                "      typeinfo?for?${name};\n      typeinfo?name?for?${name};\n")
        elseif(kind STREQUAL "variable")
            string(APPEND entries "      ${name};\n")
        else()
            string(APPEND entries "      \"operator<<(std::ostream&, ${name} const&)\";\n")
        endif()
    endforeach()
    file(CONFIGURE OUTPUT ${map}
        CONTENT "{\n  global:\n    extern \"C++\" {\n@entries@    };\n  local:\n    *;\n};\n" @ONLY)
endfunction()
