# The web console (kvsim --http): cpp-httplib's shared library exists for the native
# architecture only, so the console is built where it is found and kvsim is not -m32.
find_package(Threads REQUIRED)
find_path(KV_HTTPLIB_INCLUDE httplib.h)
find_library(KV_HTTPLIB_LIBRARY cpp-httplib)
if(KV_HTTPLIB_INCLUDE AND KV_HTTPLIB_LIBRARY AND NOT KV_M32)
  set(KV_SIM_HTTP ON CACHE INTERNAL "kvsim serves the web console")
  set(web ${CMAKE_CURRENT_SOURCE_DIR}/web)
  set(web_files index.html console.css console.js)
  set(web_cpp ${CMAKE_CURRENT_BINARY_DIR}/web_files.cpp)
  list(TRANSFORM web_files PREPEND ${web}/ OUTPUT_VARIABLE web_deps)
  string(REPLACE ";" "," web_list "${web_files}")
  add_custom_command(OUTPUT ${web_cpp}
    COMMAND ${CMAKE_COMMAND} -DDIR=${web} -DFILES=${web_list} -DOUT=${web_cpp} -P ${web}/embed.cmake
    DEPENDS ${web_deps} ${web}/embed.cmake
    COMMENT "Embedding the web console")
  add_library(kvsimweb STATIC http.cpp state_json.cpp ${web_cpp})
  target_link_libraries(kvsimweb PUBLIC kvsimcore ${KV_HTTPLIB_LIBRARY} Threads::Threads)
  # The shared library was built with these; its classes must be seen the same way.
  target_compile_definitions(kvsimweb PRIVATE CPPHTTPLIB_OPENSSL_SUPPORT CPPHTTPLIB_ZLIB_SUPPORT
    CPPHTTPLIB_BROTLI_SUPPORT)
  kv_warnings(kvsimweb)
  target_link_libraries(kvsim PRIVATE kvsimweb)
  target_compile_definitions(kvsim PRIVATE KV_SIM_HTTP=1)
else()
  set(KV_SIM_HTTP OFF CACHE INTERNAL "kvsim serves the web console")
endif()
