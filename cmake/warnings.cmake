# Warnings that every target of the project is built with. Deprecations never stop a build: the code is kept to what
# Qt 5.12 offers, and later versions of Qt deprecate some of it.
function(lapvane_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /utf-8)
        if(LAPVANE_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE /WX /wd4996)
        endif()
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
            -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wimplicit-fallthrough)
        if(LAPVANE_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE -Werror -Wno-error=deprecated-declarations)
        endif()
    endif()
endfunction()

# No silent conversions between text and bytes in code that ships: every text says how it is encoded.
function(lapvane_strict_strings target)
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_ASCII QT_NO_URL_CAST_FROM_STRING
        QT_STRICT_ITERATORS)
endfunction()
