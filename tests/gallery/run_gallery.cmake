# Runs velmora-gallery headless in one mode and checks its exit code and output. Render-all
# runs twice, in two processes, and every PNG of the second run must match the first byte for byte.
#   cmake -DGALLERY=<exe> -DMODE=smoke|render-all -DOUT=<dir> -DWORKDIR=<dir> -P run_gallery.cmake
#   -DEMULATOR=<program> runs a cross-built gallery through it (Wine, which needs the display).
#   -DREFERENCE=<dir> runs render-all once and compares it with the pictures in <dir> instead,
#   outside text (scripts/compare-renders): another video driver must draw what headless does.
file(REMOVE_RECURSE "${OUT}")
if(EMULATOR)
    set(launch ${EMULATOR} "${GALLERY}")
else()
    set(launch env -u DISPLAY "${GALLERY}")
endif()
function(run_gallery directory)
    execute_process(COMMAND ${launch} --${MODE} "${directory}"
                    WORKING_DIRECTORY "${WORKDIR}" RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    message("${out}${err}")
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "velmora-gallery --${MODE} exited with ${rc}")
    endif()
    set(out "${out}" PARENT_SCOPE)
endfunction()

run_gallery("${OUT}/renders")
if(NOT out MATCHES "^VelmoraUI 0\\.2\\.0 / [^\n]+\n")
    message(FATAL_ERROR "missing the version line")
endif()
if(MODE STREQUAL "render-all")
    if(NOT out MATCHES "\nGallery rendered 68 / 68; refraction changed [0-9]+ pixels\n$")
        message(FATAL_ERROR "missing the summary line")
    endif()
    file(READ "${OUT}/renders/gallery-report.json" report)
    if(NOT report MATCHES "^{\"version\":\"0\\.2\\.0\",\"width\":1920,\"height\":1200,\"galleryScreenshots\":[0-9]+,\"overlayScreenshots\":6,\"controls\":\\[\"Button\",.*\"CommandPalette\"\\],\"renderedControlCount\":68,\"tint\":0,\"blur\":0,\"sigma\":0,\"refractionChangedPixels\":[0-9]+}$")
        message(FATAL_ERROR "unexpected report: ${report}")
    endif()
    foreach(name gallery-1-1 gallery-10-1 overlay-ColorPicker overlay-DatePicker overlay-FilePicker
                 overlay-DirectoryPicker overlay-Table overlay-CommandPalette refraction-0 refraction-30)
        if(NOT EXISTS "${OUT}/renders/${name}.png")
            message(FATAL_ERROR "missing ${name}.png")
        endif()
    endforeach()
endif()

if(MODE STREQUAL "render-all" AND REFERENCE)
    execute_process(COMMAND python3 "${WORKDIR}/scripts/compare-renders" "${REFERENCE}" "${OUT}/renders" --max-share 0
                    RESULT_VARIABLE differ OUTPUT_VARIABLE report)
    if(NOT differ EQUAL 0)
        message(FATAL_ERROR "the pictures differ from ${REFERENCE}:\n${report}")
    endif()
elseif(MODE STREQUAL "render-all")
    run_gallery("${OUT}/again")
    file(GLOB pictures RELATIVE "${OUT}/renders" "${OUT}/renders/*.png")
    foreach(name ${pictures})
        execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files "${OUT}/renders/${name}" "${OUT}/again/${name}"
                        RESULT_VARIABLE differ)
        if(NOT differ EQUAL 0)
            message(FATAL_ERROR "${name} differs between two runs")
        endif()
    endforeach()
endif()
