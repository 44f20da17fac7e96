# The Windows program's resources: `zelkor_resources` is one object that an executable takes in by linking it.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(icon ${CMAKE_CURRENT_BINARY_DIR}/zelkor.ico)
add_custom_command(
  OUTPUT ${icon}
  COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/icon/make_icon.py ${icon}
  DEPENDS icon/make_icon.py
  VERBATIM)

file(GLOB parts CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/dialogs/*.rc)
list(APPEND parts ${icon})
foreach(part resource.h version.rc zelkor.manifest)
  list(APPEND parts ${CMAKE_CURRENT_SOURCE_DIR}/${part})
endforeach()
set_source_files_properties(zelkor.rc PROPERTIES OBJECT_DEPENDS "${parts}")
add_library(zelkor_resources OBJECT zelkor.rc)
target_include_directories(zelkor_resources PRIVATE ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_BINARY_DIR})

# ZELKOR_LANGUAGE_TABLE names the table's file, which is made during the build.
if(ZELKOR_LANGUAGE_TABLE)
  set(table_script ${CMAKE_CURRENT_BINARY_DIR}/language_table.rc)
  configure_file(language_table.rc.in ${table_script} @ONLY)
  set_source_files_properties(${table_script} PROPERTIES OBJECT_DEPENDS ${ZELKOR_LANGUAGE_TABLE})
  add_library(zelkor_language_resource OBJECT ${table_script})
  target_include_directories(zelkor_language_resource PRIVATE ${PROJECT_SOURCE_DIR})
endif()
