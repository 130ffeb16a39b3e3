# The picture checks of the player on a virtual display, by the mean difference
# of luma (0..255) between what zel-player shows and what it should show: the
# frame at 2 s against ffmpeg's frame at 2 s, and an MP3's embedded cover
# against the cover itself; and that the spectrum of the MP3 is drawn at all.
# Run by ctest with PLAYER, WITH_XVFB, FFMPEG and WORK set.
file(MAKE_DIRECTORY "${WORK}")

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc})\n${err}")
  endif()
endfunction()

# Shows FILE at 2 s in zel-player, with further options, into "shot NAME.png".
function(shoot name file)
  execute_process(COMMAND "${WITH_XVFB}" env QT_QPA_PLATFORM=xcb
                          "${PLAYER}" ${ARGN} --shot "${WORK}/shot ${name}.png" --at 2 "${file}"
                  RESULT_VARIABLE rc TIMEOUT 60)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "zel-player wrote no picture of the ${name} (${rc})")
  endif()
endfunction()

# Shows FILE at 2 s and compares the shot, cut by SHOT_FILTER, with REFERENCE
# cut by REFERENCE_FILTER.
function(check_shot name file reference shot_filter reference_filter limit)
  shoot(${name} "${file}")
  execute_process(COMMAND "${FFMPEG}" -v info -nostdin -i "${WORK}/shot ${name}.png" -i "${reference}"
                          -filter_complex "[0]${shot_filter}[a];[1]${reference_filter}[b];[a][b]blend=all_mode=difference,format=gray,signalstats,metadata=print:key=lavfi.signalstats.YAVG"
                          -f null -
                  ERROR_VARIABLE log RESULT_VARIABLE rc)
  string(REGEX MATCH "YAVG=([0-9.]+)" found "${log}")
  if(NOT found)
    message(FATAL_ERROR "no difference measured for the ${name}: the pictures differ in size or did not load\n${log}")
  endif()
  message(STATUS "${name}: mean luma difference ${CMAKE_MATCH_1}")
  if(CMAKE_MATCH_1 GREATER ${limit})
    message(FATAL_ERROR "the ${name} shown differs from the expected picture by ${CMAKE_MATCH_1}")
  endif()
endfunction()

set(clip "${WORK}/render clip.mp4")
run("the clip" "${FFMPEG}" -v error -nostdin -y -f lavfi -i testsrc=size=320x240:rate=25:duration=4
    -pix_fmt yuv420p -c:v mpeg4 -q:v 2 "${clip}")
run("the reference frame" "${FFMPEG}" -v error -nostdin -y -ss 2 -i "${clip}" -frames:v 1 -vf scale=640:480
    "${WORK}/reference.png")
check_shot(frame "${clip}" "${WORK}/reference.png" null null 5)

# The cover fills the picture area of 640x480 at the default zoom of 0.95,
# centred: 608x456. The middle 400x300 of both is compared, away from the
# background around it.
set(song "${WORK}/covered song.mp3")
run("the cover" "${FFMPEG}" -v error -nostdin -y -f lavfi -i testsrc=size=640x480:rate=1 -frames:v 1
    "${WORK}/cover.png")
run("the song" "${FFMPEG}" -v error -nostdin -y -f lavfi -i sine=duration=4 -i "${WORK}/cover.png"
    -map 0 -map 1 -c:a libmp3lame -c:v copy -id3v2_version 3 "${song}")
check_shot(cover "${song}" "${WORK}/cover.png" "crop=400:300" "scale=608:456,crop=400:300" 5)

# The spectrum has no reference picture: it must fill the shot, and the sine
# must stand out in white; the note axis alone, drawn before any sound, stays
# below luma 80.
shoot(spectrum "${song}" --fft)
execute_process(COMMAND "${FFMPEG}" -v info -nostdin -i "${WORK}/shot spectrum.png"
                        -vf "format=gray,signalstats,metadata=print" -f null -
                ERROR_VARIABLE log RESULT_VARIABLE rc)
string(REGEX MATCH "Stream #0:0[^\n]*, ([0-9]+)x[0-9]+" size "${log}")
set(width "${CMAKE_MATCH_1}")
string(REGEX MATCH "YMIN=([0-9]+)" found_min "${log}")
set(darkest "${CMAKE_MATCH_1}")
string(REGEX MATCH "YMAX=([0-9]+)" found_max "${log}")
set(brightest "${CMAKE_MATCH_1}")
message(STATUS "spectrum: ${width} pixels wide, luma ${darkest} to ${brightest}")
if(NOT found_min OR NOT found_max OR NOT width EQUAL 640)
  message(FATAL_ERROR "the spectrum shot did not load or is not 640 wide\n${log}")
endif()
if(darkest GREATER 32 OR brightest LESS 160)
  message(FATAL_ERROR "the spectrum shows no sound (luma ${darkest} to ${brightest})")
endif()
