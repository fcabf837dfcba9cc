# Compiler settings and the two functions by which every folder makes its targets.

add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wno-missing-field-initializers)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(-Wshadow)
    # ccache can only reuse objects of a precompiled header without time stamps
    add_compile_options(-Xclang -fno-pch-timestamp)
else()
    # GCC's plain -Wshadow objects to an enumerator named as a type
    add_compile_options(-Wshadow=local)
    # GCC 12 warns of overflows within its own std::string when it optimises
    add_compile_options(-Wno-stringop-overflow -Wno-restrict -Wno-array-bounds)
endif()
if(KR_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
find_program(KR_MOLD mold)
if(KR_MOLD)
    add_link_options(-fuse-ld=mold)
endif()
find_program(KR_CCACHE ccache)
if(KR_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER "${KR_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KR_CCACHE}")
endif()
include_directories("${CMAKE_SOURCE_DIR}")

set(KR_PCH_CORE <algorithm> <chrono> <cstdint> <functional> <map> <memory> <optional> <string>
                <string_view> <unordered_map> <variant> <vector>)
set(KR_PCH_FORMS ${KR_PCH_CORE} <QAction> <QApplication> <QCheckBox> <QComboBox> <QDialog>
                 <QHeaderView> <QIcon> <QLabel> <QLineEdit> <QMenu> <QMessageBox> <QPushButton>
                 <QString> <QTimer> <QTreeView> <QVBoxLayout>)

# One precompiled header for everything without Qt, one for forms, one each for their tests.
function(kr_precompiled name)
    cmake_parse_arguments(A "" "" "LINK;HEADERS" ${ARGN})
    file(WRITE "${CMAKE_BINARY_DIR}/${name}.cpp.in" "// carries a precompiled header\n")
    configure_file("${CMAKE_BINARY_DIR}/${name}.cpp.in" "${CMAKE_BINARY_DIR}/${name}.cpp" COPYONLY)
    add_library(${name} STATIC "${CMAKE_BINARY_DIR}/${name}.cpp")
    target_link_libraries(${name} PRIVATE ${A_LINK})
    target_precompile_headers(${name} PRIVATE ${A_HEADERS})
endfunction()

# kr_library(NAME [SOURCES ...] [LINK ...]): a Qt-free static library of a folder's *.cpp.
function(kr_library name)
    cmake_parse_arguments(A "" "" "SOURCES;LINK" ${ARGN})
    if(NOT A_SOURCES)
        file(GLOB A_SOURCES CONFIGURE_DEPENDS *.cpp *.h)
    endif()
    add_library(${name} STATIC ${A_SOURCES})
    target_link_libraries(${name} PUBLIC ${A_LINK})
    target_precompile_headers(${name} REUSE_FROM kr_pch_core)
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
endfunction()

# kr_forms(NAME [LINK ...]): a Qt library of a folder's *.cpp and *.ui. A complaint of uic (wrong
# buddy, wrong tab stop, name used twice) stops the build.
function(kr_forms name)
    cmake_parse_arguments(A "" "" "LINK" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp *.h)
    file(GLOB uis CONFIGURE_DEPENDS *.ui)
    set(headers)
    foreach(ui IN LISTS uis)
        get_filename_component(base ${ui} NAME_WE)
        set(header "${CMAKE_CURRENT_BINARY_DIR}/ui_${base}.h")
        add_custom_command(OUTPUT ${header}
            COMMAND "${CMAKE_SOURCE_DIR}/cmake/uic-strict" $<TARGET_FILE:Qt6::uic> ${ui} ${header}
            DEPENDS ${ui} "${CMAKE_SOURCE_DIR}/cmake/uic-strict" VERBATIM)
        list(APPEND headers ${header})
    endforeach()
    add_library(${name} STATIC ${sources} ${headers})
    # forms measure themselves by constants of the same names
    set_target_properties(${name} PROPERTIES AUTOMOC ON UNITY_BUILD OFF)
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
    target_link_libraries(${name} PUBLIC ${A_LINK} Qt6::Widgets)
    target_precompile_headers(${name} REUSE_FROM kr_pch_forms)
endfunction()

# kr_tests([QT] [LINK ...]): one GoogleTest program for each test_*.cpp of the folder. QT programs
# run under the offscreen platform with the main of tests/support.
function(kr_tests)
    cmake_parse_arguments(A "QT" "" "LINK" ${ARGN})
    file(GLOB files CONFIGURE_DEPENDS test_*.cpp)
    foreach(file IN LISTS files)
        get_filename_component(name ${file} NAME_WE)
        add_executable(${name} ${file})
        if(A_QT)
            set_target_properties(${name} PROPERTIES AUTOMOC ON)
            target_link_libraries(${name} PRIVATE ${A_LINK} kr_test_qtmain Qt6::Widgets Qt6::Test GTest::gmock)
            target_precompile_headers(${name} REUSE_FROM kr_pch_test_forms)
        else()
            target_link_libraries(${name} PRIVATE ${A_LINK} GTest::gmock GTest::gtest_main)
            target_precompile_headers(${name} REUSE_FROM kr_pch_test)
        endif()
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES TIMEOUT 300
            ENVIRONMENT "LC_ALL=C.UTF-8;TZ=Europe/Berlin;QT_QPA_PLATFORM=offscreen;LDAPNOINIT=1")
    endforeach()
endfunction()
