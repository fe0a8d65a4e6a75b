# Installs the reference host into a folder, moves the folder, and runs the moved program: it must find its libraries
# and its plug-in where it is now. Manual and completion come with it, and its libraries stay out of the folder in which
# other programs would find them.
#
#   cmake -DBUILD=build folder -DWORK=scratch folder -DPLUGIN=plug-in -DLIBDIR=lib -P install_test.cmake
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGV} failed (${result}):\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --component refhost --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${WORK}/moved)
foreach(name ${LIBDIR}/orvhost/liborv_DllCommon.so ${LIBDIR}/orvhost/liborv_ProviderBase.so
        share/man/man8/orvhost.8.gz share/man/man8/orvhost-update.8.gz lib/systemd/system/orvhost-metrics.timer
        lib/systemd/system/orvhost-verify.service share/bash-completion/completions/orvhost)
  if(NOT EXISTS ${WORK}/moved/${name})
    message(FATAL_ERROR "${name} is not installed.")
  endif()
endforeach()
file(GLOB exposed ${WORK}/moved/${LIBDIR}/*.so*)
if(exposed)
  message(FATAL_ERROR "Other programs would find ${exposed}.")
endif()
configure_file(${PLUGIN} ${WORK}/moved/${LIBDIR}/orv/liborvp_KESTREL_BMC.so COPYONLY)
# Apart from what else is at work on this machine.
set(ENV{ORVHOST_LAB_MACHINE} 1)
set(ENV{ORVHOST_LAB_LOCK_FOLDER} ${WORK}/runs)
run(${WORK}/moved/bin/orvhost identify --install-path ${WORK}/path --server-type kv6000)
file(REMOVE_RECURSE ${WORK})
