# The folders below, and what goes into every page as text: the chart library, the style and the script.
file(GLOB ctl_page_sources CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_LIST_DIR}/parse/*.cpp ${CMAKE_CURRENT_LIST_DIR}/read/*.cpp ${CMAKE_CURRENT_LIST_DIR}/html/*.cpp)
set(ctl_page_assets
  ${THSENTINEL_DYGRAPHS}/dygraph.min.js
  ${THSENTINEL_DYGRAPHS}/dygraph.min.css
  ${CMAKE_CURRENT_LIST_DIR}/assets/report.js
  ${CMAKE_CURRENT_LIST_DIR}/assets/report.css)
set(ctl_page_embedded ${CMAKE_CURRENT_BINARY_DIR}/Assets.cpp)
add_custom_command(OUTPUT ${ctl_page_embedded}
  COMMAND ${CMAKE_COMMAND} "-DASSETS=${ctl_page_assets}" -DOUTPUT=${ctl_page_embedded}
    -P ${CMAKE_CURRENT_LIST_DIR}/embed.cmake
  DEPENDS ${ctl_page_assets} ${CMAKE_CURRENT_LIST_DIR}/embed.cmake
  VERBATIM)
target_sources(thsentinelctl_core PRIVATE ${ctl_page_sources} ${ctl_page_embedded})
