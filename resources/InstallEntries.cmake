# Runs at installation: the command on the path, the desktop entry and the service file of the session bus.
foreach(kind BINDIR LIBDIR DATADIR)
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_${kind} BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE ${kind})
endforeach()
set(COBBLET_COMMAND ${BINDIR}/cobblet)
set(COBBLET_APPLICATION ${LIBDIR}/cobblet/Cobblet.app/Contents/MacOS/cobblet)

# The entries quote their paths; these would still mean something else inside the quotes.
if("${COBBLET_COMMAND}${COBBLET_APPLICATION}" MATCHES "[\"`$%\\\n]")
    message(FATAL_ERROR "Desktop entries can't name a path like ${COBBLET_COMMAND}: choose a prefix without quotes, "
                        "dollar and percent signs, backslashes and line breaks.")
endif()

set(helper ${LIBDIR}/cobblet/Cobblet.app/Contents/Helpers/cobblet)
cmake_path(RELATIVE_PATH helper BASE_DIRECTORY ${BINDIR})
file(MAKE_DIRECTORY "$ENV{DESTDIR}${BINDIR}")
file(CREATE_LINK ${helper} "$ENV{DESTDIR}${COBBLET_COMMAND}" SYMBOLIC)
message(STATUS "Installing: $ENV{DESTDIR}${COBBLET_COMMAND}")

foreach(entry applications/com.vantor.cobblet.desktop dbus-1/services/com.vantor.cobblet.service)
    get_filename_component(name ${entry} NAME)
    get_filename_component(folder ${entry} DIRECTORY)
    configure_file(${here}/desktop/${name}.in ${written}/${name} @ONLY)
    file(INSTALL ${written}/${name} DESTINATION ${DATADIR}/${folder})
endforeach()

# A package leaves this to the packages around it.
if("$ENV{DESTDIR}" STREQUAL "")
    find_program(update NAMES update-desktop-database)
    if(update)
        execute_process(COMMAND ${update} -q ${DATADIR}/applications)
    endif()
endif()
