# Read by cpack before it packs: what it and rpmbuild date, they date as the newest entry of the changelog.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{SOURCE_DATE_EPOCH} ${CPACK_KESTREL_RELEASED})
endif()
set(ENV{TZ} UTC)
