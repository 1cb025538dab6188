// A thread of the live link.
#pragma once

#include <pthread.h>

#include "parameterexport.h"

// A failure to create it is a result, not an exception. Runs with SIGPIPE kept back: a tool that
// goes while a reply is sent must not end the camera's process.
class PARAMETER_API ParameterRondelThread {
 public:
  ParameterRondelThread() = default;
  ParameterRondelThread(const ParameterRondelThread&) = delete;
  ParameterRondelThread& operator=(const ParameterRondelThread&) = delete;

  bool Start(void* (*function)(void*), void* argument);
  // Waits for its end; nothing if there is none.
  void Join();

 private:
  pthread_t thread_{};
  bool started_ = false;
};
