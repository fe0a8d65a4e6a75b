# What the RPM packages say beyond what the Debian packages say too: fields, and how rpmbuild is to work.
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_PACKAGE_RELOCATABLE OFF)  # the units name /usr/bin
# One field for all packages, so rpmbuild looks which it is: only orvhost has code of header-only libraries in it.
set(ours LicenseRef-KESTREL-all-rights-reserved)
set(CPACK_RPM_PACKAGE_LICENSE
    "%{lua:print(rpm.expand('%{name}') == 'orvhost' and '${ours} AND BSD-3-Clause AND MIT' or '${ours}')}")
set(CPACK_RPM_CHANGELOG_FILE ${CMAKE_CURRENT_BINARY_DIR}/rpm-changelog)
# Folders that belong to the system.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/share/pkgconfig /usr/lib/cmake /usr/lib/systemd /usr/lib/systemd/system /usr/share/bash-completion
    /usr/share/bash-completion/completions /usr/share/man /usr/share/man/man8)

set(CPACK_RPM_SPEC_MORE_DEFINE "%include ${CMAKE_CURRENT_SOURCE_DIR}/rpm-fields")

# kestrel_rpm_package(COMPONENT NAME SUMMARY DESCRIPTION): the fields of one package, for kestrel_package's caller.
macro(kestrel_rpm_package component name summary description)
  set(rpm_summary "${summary}")
  string(SUBSTRING "${rpm_summary}" 0 1 first)
  string(SUBSTRING "${rpm_summary}" 1 -1 rest)
  string(TOUPPER "${first}" first)
  string(REPLACE "\n.\n" "\n\n" rpm_description "${description}")
  set(CPACK_RPM_${component}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_RPM_${component}_PACKAGE_SUMMARY "${first}${rest}" PARENT_SCOPE)
  set(CPACK_RPM_${component}_PACKAGE_DESCRIPTION "${rpm_description}" PARENT_SCOPE)
  set(CPACK_RPM_${component}_PACKAGE_GROUP System/Management PARENT_SCOPE)
  set(CPACK_RPM_${component}_USER_FILELIST "%license /usr/share/doc/${name}/copyright" PARENT_SCOPE)
endmacro()
