# Compiles all installed headers as C++11 and runs a program that calls the library, with no other
# flags than pkg-config's and those of the sanitizers.
set(ENV{PKG_CONFIG_PATH} ${libraries}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs paneldrivers
    OUTPUT_VARIABLE kit OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(kit UNIX_COMMAND "${kit}")
separate_arguments(flags UNIX_COMMAND "${flags}")

file(GLOB_RECURSE names RELATIVE ${headers} ${headers}/*.h)
set(source "")
foreach(name IN LISTS names)
    if(name MATCHES "kv1000/|internal/")
        message(FATAL_ERROR "${name} is not for others and was installed")
    endif()
    string(APPEND source "#include \"${name}\"\n")
endforeach()
string(APPEND source [[
int main()
{
    TxPackage frame;
    frame.appendString(QString::fromLatin1("123456789"));
    const QByteArray bytes = frame.byteArrayData();
    const void* const data = bytes.constData();
    return CRC16Calculate(static_cast<const unsigned char*>(data), bytes.size()) == 0xBB3D ? 0 : 1;
}
]])

file(WRITE ${directory}/program.cpp "${source}")
execute_process(COMMAND ${compiler} -std=c++11 -fPIC ${flags} program.cpp ${kit}
    -Wl,-rpath,${libraries} -o program
    WORKING_DIRECTORY ${directory} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${directory}/program COMMAND_ERROR_IS_FATAL ANY)
