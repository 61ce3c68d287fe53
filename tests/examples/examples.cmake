# The example programs, judged by their output. Included by tests/CMakeLists.txt.
add_test(NAME examples.quick_start COMMAND quick_start)
set_tests_properties(examples.quick_start PROPERTIES PASS_REGULAR_EXPRESSION "code 10000, theta [-0-9.]+\n")
add_test(NAME examples.forecast COMMAND "${CMAKE_CURRENT_LIST_DIR}/forecast_test.sh" $<TARGET_FILE:forecast>
                                        "${PROJECT_SOURCE_DIR}/data")
add_test(NAME examples.power COMMAND "${CMAKE_CURRENT_LIST_DIR}/power_test.sh" $<TARGET_FILE:power>)
