# A script of binary garbage, overlong lines and names: `warden check` must refuse it line by
# line with located reasons and exit with 1, never crash.
#   cmake -DWARDEN=... -DAGENT=... -DDIR=... -P GarbageScript.cmake
string(ASCII 1 2 3 7 8 27 127 controls)
string(ASCII 200 255 201 not_utf8)
string(REPEAT "x" 5000 long_line)
string(REPEAT "L" 300 long_name)
set(SCRIPT "${DIR}/garbage.warden")
file(WRITE "${SCRIPT}"
     "set led Led1 green ${controls}\n"
     "${long_line}\n"
     "set led ${long_name} green\n"
     "\"\"\"\"\"\n"
     "expect trace 6 \"\\\n"
     "set mapping Led1 green=${long_name}\n"
     "${not_utf8} Led1\n")
set(EXPECT
    "garbage.warden:1: control character 0x01"
    "garbage.warden:2: line longer than 4096 characters"
    "garbage.warden:3: LED name longer than 128 characters"
    "garbage.warden:4: quoted text followed by other characters"
    "garbage.warden:5: unterminated quoted text"
    "garbage.warden:6: pin name longer than 128 characters"
    "garbage.warden:7: not UTF-8 text"
    "0 passed, 1 failed")
include(${CMAKE_CURRENT_LIST_DIR}/CheckFailure.cmake)
