# Demands a row of Docs/Kinds.md for each kind: cmake -D SOURCE=<repository> -P check_guide.cmake
file(STRINGS ${SOURCE}/API/Inc/DP/DescriptorDataType.h kinds
    REGEX "kDescriptorDataType[A-Za-z]+ = [0-9]+,")
if(NOT kinds)
    message(FATAL_ERROR "DescriptorDataType.h has no kinds that can be read")
endif()
file(READ ${SOURCE}/Docs/Kinds.md guide)
foreach(kind IN LISTS kinds)
    string(REGEX REPLACE ".*kDescriptorDataType([A-Za-z]+) = .*" "\\1" kind "${kind}")
    if(NOT guide MATCHES "[|] `${kind}` [|]")
        message(SEND_ERROR "Docs/Kinds.md has no row for ${kind}")
    endif()
endforeach()
