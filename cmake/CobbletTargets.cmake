# What every target of the project shares: warnings, sanitizers, and the three kinds of target.

add_library(cobblet_options INTERFACE)
# All with or all without -pthread, which some libraries ask for: precompiled headers depend on it.
target_compile_options(cobblet_options INTERFACE -Wall -Wextra -Wpedantic -Werror -pthread)
target_compile_definitions(cobblet_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_DEPRECATED_WARNINGS)
if(COBBLET_SANITIZERS)
    target_compile_options(cobblet_options INTERFACE -fsanitize=${COBBLET_SANITIZERS} -fno-omit-frame-pointer)
    target_link_options(cobblet_options INTERFACE -fsanitize=${COBBLET_SANITIZERS})
endif()

# Reading the toolkit's headers is half of the work of compiling most files: they are read once for all targets.
# The preset "clang" is without, so that every file still includes what it uses.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/precompiled.cpp CONTENT "")
add_library(cobblet_precompiled OBJECT ${CMAKE_BINARY_DIR}/precompiled.cpp)
target_link_libraries(cobblet_precompiled PRIVATE Qt6::Gui cobblet_options)
target_precompile_headers(cobblet_precompiled PRIVATE
    <algorithm> <array> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <thread> <utility> <variant>
    <vector> <QByteArray> <QColor> <QCoreApplication> <QDir> <QFile> <QFileInfo> <QGuiApplication> <QHash> <QImage>
    <QList> <QLoggingCategory> <QMap> <QObject> <QPainter> <QPointer> <QProcess> <QRectF> <QSet> <QString>
    <QStringList> <QTimer> <QUuid> <QVariant> <QWindow>)

# cobblet_room(NAME SOURCES ... LINKS ...): a room of src/ as a static library. LINKS holds only rooms of lower
# floors and outside libraries, which is what makes an upward include fail to build or link.
function(cobblet_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ROOM_LINKS} PRIVATE cobblet_options)
    target_precompile_headers(${name} REUSE_FROM cobblet_precompiled)
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
endfunction()

# cobblet_test(NAME [ON_X] SOURCES ... LINKS ...): a GoogleTest executable that runs without a display, or with ON_X on an
# X server of its own.
function(cobblet_test name)
    cmake_parse_arguments(TEST "ON_X" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE ${TEST_LINKS} cobblet_test_support GTest::gtest GTest::gmock cobblet_options)
    target_precompile_headers(${name} REUSE_FROM cobblet_precompiled)
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 120)
    endif()
    if(TEST_ON_X)
        # Debian's own interpreter: python3-xlib is not in any other one's path.
        set(TEST_ON_X /usr/bin/python3 ${PROJECT_SOURCE_DIR}/tests/desktop/desktop.py server)
    else()
        set(TEST_ON_X)
    endif()
    add_test(NAME ${name} COMMAND ${TEST_ON_X} $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${TEST_TIMEOUT} ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()

# cobblet_part(TARGET): a program of the bundle. Its debug information, thirty times its size, lies beside the bundle in
# TARGET.debug ("symbol-file" in gdb): the bundle is copied for every group that becomes an application of its own.
function(cobblet_part target)
    if(APPLE OR COBBLET_SANITIZERS OR NOT CMAKE_OBJCOPY)
        return()
    endif()
    set(debug ${CMAKE_BINARY_DIR}/${target}.debug)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> ${debug}
        COMMAND ${CMAKE_OBJCOPY} --strip-unneeded $<TARGET_FILE:${target}>
        COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${debug} $<TARGET_FILE:${target}>
        VERBATIM)
endfunction()
