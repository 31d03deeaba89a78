# notices.cmake: installs the licence, the notices of software by others, the bill of materials and the changelog.
include(${CMAKE_CURRENT_LIST_DIR}/bill.cmake)

tonekit_write_bill()
install(FILES LICENSE THIRD-PARTY.md packaging/LGPL-2.1.txt CHANGELOG.md ${TONEKIT_GENERATED}/tonekit.spdx.json
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
