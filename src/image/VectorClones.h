#pragma once

/// Marks a row loop that is to be compiled three times: for every x86-64 processor, for those with AVX2 and
/// for those with AVX-512. Which one is there is found out when the library is loaded. For loops that were
/// measured to need it: they turn bytes round, for which the older instruction set has nothing, or compute
/// more than the memory keeps waiting. The work is in integers, so all come to the same results. Sanitizers
/// must be set up before code of theirs runs, which the choice would.
#if defined(__x86_64__) && defined(__gnu_linux__) && __GNUC__ >= 12 && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KSMTH_VECTOR_CLONES __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define KSMTH_VECTOR_CLONES
#endif
