# Other programs' readers for the tests in tests/readers: verovio (MuseData and
# MusicXML) and webmscore (MuseScore's engraving library), installed from npm
# into ${PROJECT_BINARY_DIR}/readers once, at configure time, from our
# package-lock.json. Where npm or the network is missing the tests skip, unless
# MUSEDATA_REQUIRE_READERS is set in their environment (CI sets it).

set(readers_dir ${PROJECT_BINARY_DIR}/readers)
set(readers_source ${PROJECT_SOURCE_DIR}/tests/readers)
configure_file(${readers_source}/package.json ${readers_dir}/package.json COPYONLY)
configure_file(${readers_source}/package-lock.json ${readers_dir}/package-lock.json COPYONLY)
find_program(NPM_EXECUTABLE npm)
find_program(NODE_EXECUTABLE node)
if(NOT EXISTS ${readers_dir}/node_modules/webmscore/package.json AND NPM_EXECUTABLE)
  message(STATUS "Installing verovio and webmscore from npm into ${readers_dir}")
  execute_process(COMMAND ${NPM_EXECUTABLE} ci --no-audit --no-fund --ignore-scripts
                  WORKING_DIRECTORY ${readers_dir} RESULT_VARIABLE npm_status
                  OUTPUT_QUIET ERROR_VARIABLE npm_errors)
  if(npm_status)
    message(WARNING "npm could not install the readers; their tests skip:\n${npm_errors}")
  endif()
endif()

add_test(NAME readers COMMAND ${Python3_EXECUTABLE} -B -m pytest -q -p no:cacheprovider -rs
         ${readers_source})
set_tests_properties(readers PROPERTIES ENVIRONMENT
  "MUSEDATA_TOOL=$<TARGET_FILE:musedata_tool>;MUSEDATA_READERS=${readers_dir}/node_modules;MUSEDATA_MUSIC21_ARCHIVE=${MUSEDATA_MUSIC21_ARCHIVE};PYTHONDONTWRITEBYTECODE=1")
