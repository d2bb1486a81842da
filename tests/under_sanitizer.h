// Whether this is a build with a sanitizer, in which tests of many rounds make fewer.

#ifndef TESTS_UNDER_SANITIZER_H
#define TESTS_UNDER_SANITIZER_H

#if defined(__has_feature)
#define TESTS_HAVE_FEATURE(name) __has_feature(name)
#else
#define TESTS_HAVE_FEATURE(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    TESTS_HAVE_FEATURE(address_sanitizer) || TESTS_HAVE_FEATURE(thread_sanitizer)
constexpr bool kUnderSanitizer = true;
#else
constexpr bool kUnderSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__) || TESTS_HAVE_FEATURE(thread_sanitizer)
constexpr bool kUnderThreadSanitizer = true;
#else
constexpr bool kUnderThreadSanitizer = false;
#endif

#endif  // TESTS_UNDER_SANITIZER_H
