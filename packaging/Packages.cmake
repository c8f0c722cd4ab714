# The packages: which components each holds, and what each needs. `script/package` makes them.
set(CPACK_PACKAGE_NAME thsentinel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Tarnhaven")
set(CPACK_PACKAGE_CONTACT "Tarnhaven Health Sentinel maintainers <thsentinel@tarnhaven.example>")
set(CPACK_SET_DESTDIR ON) # the places of the program don't depend on a prefix
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/ComponentsOfGenerator.cmake)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)

set(description_main "Tarnhaven Health Sentinel
Watches the processor and memory use of processes of the Tarnhaven product.
When one stays above its limit, the daemon collects evidence: core images,
Java dumps, and statistics of memory, network, disks and the process.
.
It reads its settings through the product's base library, which comes with
the product or, on a host without it, with thsentinel-standalone.")
set(description_base "Tarnhaven Health Sentinel - base library for hosts without the product
The base library that the daemon reads its settings through, a stand-in for
the product's log level tool, and the folders that the product would bring.
.
It is not for hosts with the product, which has all of them itself.")
set(description_companion "Tarnhaven Health Sentinel - companion program for operators
Checks settings before they go live, shows what the daemon watches and has
collected, verifies evidence and turns it into a report.
.
It never touches the daemon: it takes no lock and sends no signal.")

# ---- deb -------------------------------------------------------------------------------------------------------------

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(deb ${CMAKE_CURRENT_SOURCE_DIR}/deb)
set(CPACK_DEBIAN_MAIN_PACKAGE_NAME thsentinel)
set(CPACK_DEBIAN_MAIN_DESCRIPTION "${description_main}")
# Essential packages carry a version, the oldest that has what is used of it: the tools of the shell lines, su in
# util-linux, and the shell that gcore is written for.
string(JOIN ", " CPACK_DEBIAN_MAIN_PACKAGE_DEPENDS
  "thsentinel-standalone (= ${PROJECT_VERSION}) | tarnhaven-base"
  "procps" "grep (>= 2.20)" "mawk | gawk" "coreutils (>= 8.22)" "util-linux (>= 2.32)" "bash (>= 4.2)")
set(CPACK_DEBIAN_MAIN_PACKAGE_RECOMMENDS "gdb, sysstat, net-tools")
set(CPACK_DEBIAN_MAIN_PACKAGE_SUGGESTS "thsentinel-ctl, default-jdk-headless")
set(CPACK_DEBIAN_MAIN_PACKAGE_CONTROL_EXTRA
  "${deb}/main/postinst;${deb}/main/prerm;${deb}/main/postrm;${deb}/main/triggers;${deb}/main/conffiles")

set(CPACK_DEBIAN_BASE_PACKAGE_NAME thsentinel-standalone)
set(CPACK_DEBIAN_BASE_DESCRIPTION "${description_base}")
set(CPACK_DEBIAN_BASE_PACKAGE_DEPENDS "util-linux (>= 2.32)")
# Whoever brings a base library provides the virtual package and excludes all others that do.
set(CPACK_DEBIAN_BASE_PACKAGE_PROVIDES tarnhaven-base)
set(CPACK_DEBIAN_BASE_PACKAGE_CONFLICTS tarnhaven-base)
set(CPACK_DEBIAN_BASE_PACKAGE_CONTROL_EXTRA "${deb}/base/preinst;${deb}/base/postrm")

set(CPACK_DEBIAN_COMPANION_PACKAGE_NAME thsentinel-ctl)
set(CPACK_DEBIAN_COMPANION_DESCRIPTION "${description_companion}")
# It looks for the base library when it needs it: copies of settings and evidence are read on any host.
set(CPACK_DEBIAN_COMPANION_PACKAGE_RECOMMENDS thsentinel)
# libarchive is opened by the program itself, so nothing in the file says that it is needed. Debian 13 renamed its
# package.
string(REGEX REPLACE "\\.so\\." "" libarchive "${THSENTINEL_LIBARCHIVE}")
set(CPACK_DEBIAN_COMPANION_PACKAGE_DEPENDS "${libarchive}t64 | ${libarchive}")
set(CPACK_DEBIAN_COMPANION_PACKAGE_CONTROL_EXTRA "${deb}/ctl/postinst;${deb}/ctl/prerm;${deb}/ctl/postrm")

# ---- rpm -------------------------------------------------------------------------------------------------------------

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_COMPRESSION_TYPE xz)
set(CPACK_RPM_PACKAGE_LICENSE "Proprietary")
set(CPACK_RPM_PACKAGE_GROUP "System Environment/Daemons")
set(CPACK_RPM_PACKAGE_RELEASE 1)
set(CPACK_RPM_PACKAGE_AUTOREQ ON)
# The base library is asked for by its package, not by its name,
# since the product's own package may not announce it.
set(CPACK_RPM_SPEC_MORE_DEFINE "%global __requires_exclude ^libthbase\\\\.so.*$
%global __provides_exclude ^libthbase\\\\.so.*$
%global packager ${CPACK_PACKAGE_CONTACT}
%global debug_package %{nil}
%global _build_id_links none
%global source_date_epoch_from_changelog 0")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /usr /usr/bin /usr/sbin /usr/lib /usr/lib/systemd
  /usr/lib/systemd/system /usr/lib/tmpfiles.d /usr/share /usr/share/man /usr/share/man/man1 /usr/share/man/man5
  /usr/share/man/man8 /usr/share/doc /usr/share/bash-completion /usr/share/bash-completion/completions
  /usr/share/zsh /usr/share/zsh/site-functions /var /var/lib)

set(rpm ${CMAKE_CURRENT_SOURCE_DIR}/rpm)
set(CPACK_RPM_MAIN_PACKAGE_NAME thsentinel)
set(CPACK_RPM_MAIN_PACKAGE_SUMMARY "Tarnhaven Health Sentinel")
# CPack writes no Recommends; the field takes further lines of the head of the package.
set(CPACK_RPM_MAIN_PACKAGE_REQUIRES "tarnhaven-base, procps, grep, gawk, coreutils, util-linux, bash
Recommends: gdb, sysstat, net-tools
Suggests: thsentinel-ctl")
set(CPACK_RPM_MAIN_POST_INSTALL_SCRIPT_FILE ${rpm}/main.post)
set(CPACK_RPM_MAIN_PRE_UNINSTALL_SCRIPT_FILE ${rpm}/main.preun)
set(CPACK_RPM_MAIN_POST_UNINSTALL_SCRIPT_FILE ${rpm}/main.postun)

set(CPACK_RPM_BASE_PACKAGE_NAME thsentinel-standalone)
set(CPACK_RPM_BASE_PACKAGE_SUMMARY "Base library of the Tarnhaven Health Sentinel for hosts without the product")
set(CPACK_RPM_BASE_PACKAGE_REQUIRES "util-linux")
set(CPACK_RPM_BASE_PACKAGE_PROVIDES "tarnhaven-base = ${PROJECT_VERSION}")
set(CPACK_RPM_BASE_PACKAGE_CONFLICTS tarnhaven-base)
# Programs ask for it by name, and rpm wants libraries to be executable.
set(CPACK_RPM_BASE_USER_FILELIST "%attr(755, root, root) ${TARNHAVEN_HOME}/lib/libthbase.so")
set(CPACK_RPM_BASE_PRE_INSTALL_SCRIPT_FILE ${rpm}/base.pre)
set(CPACK_RPM_BASE_POST_TRANS_SCRIPT_FILE ${rpm}/base.posttrans)

set(CPACK_RPM_COMPANION_PACKAGE_NAME thsentinel-ctl)
set(CPACK_RPM_COMPANION_PACKAGE_SUMMARY "Companion program of the Tarnhaven Health Sentinel for operators")
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(CPACK_RPM_COMPANION_PACKAGE_REQUIRES "${THSENTINEL_LIBARCHIVE}()(64bit)")
else()
  set(CPACK_RPM_COMPANION_PACKAGE_REQUIRES "${THSENTINEL_LIBARCHIVE}")
endif()
set(CPACK_RPM_COMPANION_POST_INSTALL_SCRIPT_FILE ${rpm}/ctl.reload)
set(CPACK_RPM_COMPANION_PRE_UNINSTALL_SCRIPT_FILE ${rpm}/ctl.preun)
set(CPACK_RPM_COMPANION_POST_UNINSTALL_SCRIPT_FILE ${rpm}/ctl.reload)

foreach(group IN ITEMS main base companion)
  string(TOUPPER ${group} upper)
  # The first line is the summary.
  string(FIND "${description_${group}}" "\n" end)
  math(EXPR begin "${end} + 1")
  string(SUBSTRING "${description_${group}}" ${begin} -1 text)
  string(REGEX REPLACE "\n\\.\n" "\n\n" CPACK_RPM_${upper}_PACKAGE_DESCRIPTION "${text}")
endforeach()

# ---- Components ------------------------------------------------------------------------------------------------------

set(companion "")
if(TARGET thsentinelctl)
  set(companion "ctl ctl_extra ctl_\${kind}")
endif()
configure_file(ComponentsOfGenerator.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/ComponentsOfGenerator.cmake @ONLY)

include(CPack)
cpack_add_component_group(main)
cpack_add_component_group(base)
cpack_add_component_group(companion)
foreach(component IN ITEMS daemon service service_deb service_rpm)
  cpack_add_component(${component} GROUP main)
endforeach()
foreach(component IN ITEMS standalone standalone_deb standalone_rpm)
  cpack_add_component(${component} GROUP base)
endforeach()
foreach(component IN ITEMS ctl ctl_extra ctl_deb ctl_rpm)
  cpack_add_component(${component} GROUP companion)
endforeach()
