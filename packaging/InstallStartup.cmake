# Run by cmake --install: writes what starts the daemon, with the daemon's path in it, which is not known before.

set(daemon "${CMAKE_INSTALL_PREFIX}/sbin/halvorixd")
# It goes into a property list and through a shell.
if(NOT daemon MATCHES "^/[-A-Za-z0-9/._+]+$")
    message(FATAL_ERROR "the prefix may hold letters, digits and -/._+ alone, not ${CMAKE_INSTALL_PREFIX}")
endif()

set(staged "${HALVORIX_PACKAGING_BINARY}/staged")
configure_file("${HALVORIX_PACKAGING_SOURCE}/com.halvorix.halvorixd.plist.in" "${staged}/com.halvorix.halvorixd.plist" @ONLY)
configure_file("${HALVORIX_PACKAGING_SOURCE}/StartupItem/Halvorixd.in" "${staged}/Halvorixd/Halvorixd" @ONLY)
configure_file("${HALVORIX_PACKAGING_SOURCE}/StartupItem/StartupParameters.plist"
    "${staged}/Halvorixd/StartupParameters.plist" COPYONLY)

# The system starts nothing that others than its owner may write to, whatever the umask of who installs it.
set(readable OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
set(executable ${readable} OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE)
file(INSTALL DESTINATION /Library/LaunchDaemons TYPE FILE PERMISSIONS ${readable}
    FILES "${staged}/com.halvorix.halvorixd.plist")
file(INSTALL DESTINATION /Library/StartupItems TYPE DIRECTORY DIRECTORY_PERMISSIONS ${executable}
    FILES "${staged}/Halvorixd" PATTERN Halvorixd/Halvorixd PERMISSIONS ${executable}
    PATTERN StartupParameters.plist PERMISSIONS ${readable})
