# The preview page's files in ${PROJECT_BINARY_DIR}/serve, beside the tool, where
# it looks for them (installed: share/musedata/serve of its prefix): the page itself,
# verovio's JavaScript toolkit installed from npm (once, at configure time,
# from our package-lock.json) and the bundled minuet as a sample.

set(MUSEDATA_SERVE_ASSETS ${PROJECT_BINARY_DIR}/serve)
set(serve_source ${PROJECT_SOURCE_DIR}/tools/serve)
foreach(name index.html app.js style.css)
  configure_file(${serve_source}/${name} ${MUSEDATA_SERVE_ASSETS}/${name} COPYONLY)
endforeach()

set(npm_dir ${PROJECT_BINARY_DIR}/web)
set(verovio_js ${npm_dir}/node_modules/verovio/dist/verovio-toolkit-wasm.js)
configure_file(${serve_source}/package.json ${npm_dir}/package.json COPYONLY)
configure_file(${serve_source}/package-lock.json ${npm_dir}/package-lock.json COPYONLY)
find_program(NPM_EXECUTABLE npm)
if(NOT EXISTS ${verovio_js} AND NPM_EXECUTABLE)
  message(STATUS "Installing verovio from npm into ${npm_dir}")
  execute_process(COMMAND ${NPM_EXECUTABLE} ci --no-audit --no-fund --ignore-scripts
                  WORKING_DIRECTORY ${npm_dir} RESULT_VARIABLE npm_status
                  OUTPUT_QUIET ERROR_VARIABLE npm_errors)
  if(npm_status)
    message(WARNING "npm could not install verovio; the preview page cannot render scores:\n${npm_errors}")
  endif()
endif()
if(EXISTS ${verovio_js})
  configure_file(${verovio_js} ${MUSEDATA_SERVE_ASSETS}/verovio-toolkit-wasm.js COPYONLY)
  set(MUSEDATA_HAVE_VEROVIO ON)
else()
  message(STATUS "verovio not installed: the preview page shows conversions without rendering them")
  set(MUSEDATA_HAVE_VEROVIO OFF)
endif()

file(GLOB minuet_files ${PROJECT_SOURCE_DIR}/examples/minuet/*)
set(sample_names)
foreach(file ${minuet_files})
  get_filename_component(name ${file} NAME)
  configure_file(${file} ${MUSEDATA_SERVE_ASSETS}/samples/minuet/${name} COPYONLY)
  list(APPEND sample_names "\"${name}\"")
endforeach()
list(JOIN sample_names ", " sample_names)
file(WRITE ${MUSEDATA_SERVE_ASSETS}/samples/samples.json "{\"minuet\": [${sample_names}]}\n")

install(DIRECTORY ${MUSEDATA_SERVE_ASSETS}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/musedata/serve)
