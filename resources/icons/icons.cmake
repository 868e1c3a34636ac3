# Builds the drawings into the libraries that show them. qt_add_resources hands the resources of a static
# library on to every program that links it, so nobody has to register them by hand.

# ":/icons/models/com.apple.macpro.png" and so on.
function(add_model_pictures target)
  set(folder ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
  file(GLOB pictures CONFIGURE_DEPENDS ${folder}/models/*.png)
  qt_add_resources(${target} ${target}_models PREFIX /icons BASE ${folder} FILES ${pictures})
endfunction()

# ":/icons/symbols/refresh.svg", ":/icons/tools/addonry.svg" and so on.
function(add_drawings target)
  set(folder ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
  file(GLOB drawings CONFIGURE_DEPENDS ${folder}/symbols/*.svg ${folder}/tools/*.svg
    ${folder}/applications/*.svg)
  qt_add_resources(${target} ${target}_drawings PREFIX /icons BASE ${folder}
    FILES ${drawings} ${folder}/orlendo.svg)
endfunction()

# What a tool has drawn for itself in its folder, as ":/icons/tools/<name>.svg".
function(add_tool_drawings target word)
  set(folder ${CMAKE_SOURCE_DIR}/src/tools/${word}/icons)
  file(GLOB drawings CONFIGURE_DEPENDS ${folder}/*.svg)
  qt_add_resources(${target} ${word}_drawings PREFIX /icons/tools BASE ${folder} FILES ${drawings})
endfunction()

add_executable(render_icons EXCLUDE_FROM_ALL ${CMAKE_CURRENT_LIST_DIR}/render.cpp)
target_link_libraries(render_icons PRIVATE orlendo_options Qt6::Gui Qt6::Svg)
