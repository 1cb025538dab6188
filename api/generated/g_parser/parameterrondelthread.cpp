#include "parameterrondelthread.h"

#include <csignal>

bool ParameterRondelThread::Start(void* (*function)(void*), void* argument) {
  // A new thread inherits the mask.
  sigset_t pipe;
  sigset_t before;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, &before);
  started_ = pthread_create(&thread_, nullptr, function, argument) == 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return started_;
}

void ParameterRondelThread::Join() {
  if (started_) pthread_join(thread_, nullptr);
  started_ = false;
}
