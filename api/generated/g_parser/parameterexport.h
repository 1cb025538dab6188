// What leaves the library by name: the classes that the camera stack works with.
#pragma once

#define PARAMETER_API __attribute__((visibility("default")))
