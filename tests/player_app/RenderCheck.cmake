# The picture check of the player on a virtual display: the frame at 2 s that
# zel-player draws, against ffmpeg's frame at 2 s, by the mean difference of
# their luma (0..255). Run by ctest with PLAYER, XVFB_RUN, FFMPEG and WORK set.
file(MAKE_DIRECTORY "${WORK}")
set(clip "${WORK}/render clip.mp4")
execute_process(COMMAND "${FFMPEG}" -v error -nostdin -y -f lavfi -i testsrc=size=320x240:rate=25:duration=4
                        -pix_fmt yuv420p -c:v mpeg4 -q:v 2 "${clip}"
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "ffmpeg could not make the clip")
endif()
execute_process(COMMAND "${XVFB_RUN}" -a -s "-screen 0 1280x720x24" env QT_QPA_PLATFORM=xcb
                        "${PLAYER}" --shot "${WORK}/shot.png" --at 2 "${clip}"
                RESULT_VARIABLE rc TIMEOUT 60)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "zel-player wrote no picture (${rc})")
endif()
execute_process(COMMAND "${FFMPEG}" -v error -nostdin -y -ss 2 -i "${clip}" -frames:v 1 -vf scale=640:480
                        "${WORK}/reference.png" RESULT_VARIABLE rc)
execute_process(COMMAND "${FFMPEG}" -v info -nostdin -i "${WORK}/shot.png" -i "${WORK}/reference.png"
                        -filter_complex "[0][1]blend=all_mode=difference,format=gray,signalstats,metadata=print:key=lavfi.signalstats.YAVG"
                        -f null -
                ERROR_VARIABLE log RESULT_VARIABLE rc)
string(REGEX MATCH "YAVG=([0-9.]+)" found "${log}")
if(NOT found)
  message(FATAL_ERROR "no difference measured: the pictures differ in size or did not load\n${log}")
endif()
message(STATUS "mean luma difference ${CMAKE_MATCH_1}")
if(CMAKE_MATCH_1 GREATER 5)
  message(FATAL_ERROR "the drawn frame differs from ffmpeg's frame at 2 s by ${CMAKE_MATCH_1}")
endif()
