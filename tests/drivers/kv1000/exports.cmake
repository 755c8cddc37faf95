# What the library shows to others: of the driver only its public operations, and what a runtime
# needs to cast and delete it.
#   cmake -D nm=PROGRAM -D library=FILE -P exports.cmake
cmake_minimum_required(VERSION 3.16)

execute_process(COMMAND ${nm} --dynamic --defined-only --demangle ${library}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

set(constants staticMetaObject)
set(operations
    DriverKV1000 ~DriverKV1000 metaObject qt_metacast qt_metacall
    totalSize write read initialize validation name vender getVersionNumber
    supportedCommunicationFlags getDefaultSerialDeviceSetting getDefaultDriverSetting setDebugMode
    getBlockAccessSize getBitBlockAccessSize getLastError hasError
    getStringBasedDefaultDriverSetting getThisObject
    startComm endComm readMinRsp readBits readWords readDWords readBytes writeBit writeBytes
    clearError setCommError)
list(JOIN operations "|" anyOperation)
set(allowed
    "^(non-virtual thunk to )?DriverKV1000::(${anyOperation})\\([^()]*\\)( const)?$"
    "^DriverKV1000::${constants}$"
    "^(vtable|typeinfo|typeinfo name) for DriverKV1000$")

set(found 0)
string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
foreach(line ${lines})
    string(REGEX REPLACE "^[0-9a-f]+ . " "" symbol "${line}")
    if(NOT symbol MATCHES "KV1000|kv1000" OR symbol MATCHES "^__odr_asan") # AddressSanitizer's own
        continue()
    endif()
    set(isAllowed FALSE)
    foreach(pattern ${allowed})
        if(symbol MATCHES "${pattern}")
            set(isAllowed TRUE)
        endif()
    endforeach()
    if(NOT isAllowed)
        message(SEND_ERROR "exported: ${symbol}")
    endif()
    math(EXPR found "${found} + 1")
endforeach()

foreach(operation ${operations})
    if(NOT symbols MATCHES " DriverKV1000::${operation}\\(")
        message(SEND_ERROR "not exported: DriverKV1000::${operation}")
    endif()
endforeach()
message("${found} symbols of the driver are exported")
