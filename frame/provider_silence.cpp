// frame/provider_silence.cpp: what the provider would print goes nowhere.
//
// Beyond its error reporters (frame/provider.cpp) the provider prints in circumstances that are the host's
// own: more processors than it was built for, more calling threads than it has buffers for, a verbosity asked
// for in the environment. The shared library is linked with --wrap for each name below, so that the static
// provider's references lead here; nobody else's do. The library itself never prints.
#ifndef ZOLV_PROVIDER_MKL

#    include <cstddef>

extern "C" {

int __wrap_printf(const char* format, ...);
int __wrap_fprintf(void* stream, const char* format, ...);
int __wrap___printf_chk(int flag, const char* format, ...);
int __wrap___fprintf_chk(void* stream, int flag, const char* format, ...);
int __wrap_puts(const char* text);
int __wrap_putchar(int character);
int __wrap_fputs(const char* text, void* stream);
int __wrap_fputc(int character, void* stream);
std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, void* stream);
void __wrap_perror(const char* text);

int __wrap_printf(const char* /*format*/, ...) { return 0; }
int __wrap_fprintf(void* /*stream*/, const char* /*format*/, ...) { return 0; }
int __wrap___printf_chk(int /*flag*/, const char* /*format*/, ...) { return 0; }
int __wrap___fprintf_chk(void* /*stream*/, int /*flag*/, const char* /*format*/, ...) { return 0; }
int __wrap_puts(const char* /*text*/) { return 0; }
int __wrap_putchar(int character) { return character; }
int __wrap_fputs(const char* /*text*/, void* /*stream*/) { return 0; }
int __wrap_fputc(int character, void* /*stream*/) { return character; }
std::size_t __wrap_fwrite(const void* /*data*/, std::size_t /*size*/, std::size_t count, void* /*stream*/) {
    return count;
}
void __wrap_perror(const char* /*text*/) {}
}

#endif
