# libimgtarn-vision.so, the typed API: the subsystem cores that libimgtarn.so is built from
# (without its binary edge) behind cv::Mat functions. It is a library of its own so that
# libimgtarn.so keeps exactly its four exports. Like the binary edge it sees the subsystems'
# headers and src/common/, besides its own folder.
file(GLOB_RECURSE IMGTARN_VISION_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/vision/*.cpp)

add_library(imgtarn_vision SHARED ${IMGTARN_VISION_SOURCES} ${IMGTARN_OBJECTS})
target_include_directories(imgtarn_vision PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                                 $<INSTALL_INTERFACE:include>)
foreach(folder IN ITEMS vision common ${IMGTARN_SUBSYSTEMS})
  target_include_directories(imgtarn_vision PRIVATE ${PROJECT_SOURCE_DIR}/src/${folder})
endforeach()
target_include_directories(imgtarn_vision SYSTEM PRIVATE ${OpenCV_INCLUDE_DIRS})
target_compile_options(imgtarn_vision PRIVATE -Wconversion -Wno-sign-conversion)
# cv::Mat crosses the interface, so users link OpenCV's core with it.
target_link_libraries(imgtarn_vision PUBLIC opencv_core PRIVATE ${OpenCV_LIBS})
set_target_properties(imgtarn_vision PROPERTIES OUTPUT_NAME imgtarn-vision EXPORT_NAME vision
                      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                      CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
                      LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/vision_exports.map)
# Only the imgtarn:: API is exported; the cores and the standard library's instantiations
# stay inside, as they do in libimgtarn.so.
target_link_options(imgtarn_vision PRIVATE
                    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/vision_exports.map)
if(NOT IMGTARN_SANITIZE)
  target_link_options(imgtarn_vision PRIVATE -Wl,--no-undefined)
endif()
