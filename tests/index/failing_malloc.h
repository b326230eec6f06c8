// Makes every allocation of the process fail while a FailingMalloc is in scope: the program's own
// malloc stands before the C library's. Sanitizers bring a malloc of their own; there it is not
// to be had, and KV_FAILING_MALLOC is not defined.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KV_SANITIZED
#endif
#endif

#if !defined(KV_SANITIZED) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && \
    defined(__GLIBC__)
#define KV_FAILING_MALLOC

class FailingMalloc {
 public:
  FailingMalloc();
  ~FailingMalloc();
  FailingMalloc(const FailingMalloc&) = delete;
  FailingMalloc& operator=(const FailingMalloc&) = delete;
};

#endif
