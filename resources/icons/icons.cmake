# Builds the drawings into the libraries that show them. qt_add_resources hands the resources of a static
# library on to every program that links it, so nobody has to register them by hand.
file(GLOB model_pictures CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/models/*.png)
file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/symbols/*.svg ${CMAKE_CURRENT_LIST_DIR}/tools/*.svg
  ${CMAKE_CURRENT_LIST_DIR}/kinds/*.svg)
list(APPEND drawings ${CMAKE_CURRENT_LIST_DIR}/orlendo.svg)

# ":/icons/models/com.apple.macpro.png" and so on.
function(add_model_pictures target)
  qt_add_resources(${target} ${target}_models PREFIX /icons BASE ${CMAKE_SOURCE_DIR}/resources/icons
    FILES ${model_pictures})
endfunction()

# ":/icons/symbols/refresh.svg", ":/icons/tools/addonry.svg" and so on.
function(add_drawings target)
  qt_add_resources(${target} ${target}_drawings PREFIX /icons BASE ${CMAKE_SOURCE_DIR}/resources/icons
    FILES ${drawings})
endfunction()

add_executable(render_icons EXCLUDE_FROM_ALL ${CMAKE_CURRENT_LIST_DIR}/render.cpp)
target_link_libraries(render_icons PRIVATE orlendo_options Qt6::Gui Qt6::Svg)
