# One interface target carries the language level, warnings and sanitizer switches; every
# target of ours links it, nothing sets flags globally.
add_library(velmora_options INTERFACE)
add_library(velmora::options ALIAS velmora_options)

target_compile_features(velmora_options INTERFACE cxx_std_17)
target_compile_options(velmora_options INTERFACE -Wall -Wextra)
if(VELMORA_WERROR)
    target_compile_options(velmora_options INTERFACE -Werror)
endif()

if(VELMORA_SANITIZE)
    target_compile_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZE} -fno-sanitize-recover=all
                                                     -fno-omit-frame-pointer -g)
    target_link_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZE})
endif()
