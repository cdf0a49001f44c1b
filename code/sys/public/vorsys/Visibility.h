#pragma once

#pragma GCC visibility push(default)

// Every public header makes what it declares visible from a shared build of the libraries, whose
// default is hidden. Two kinds of declaration escape that: a friend function first declared in a
// class, and a function template that the library defines and instantiates itself. They carry
// VOR_PUBLIC.
#define VOR_PUBLIC __attribute__((visibility("default")))

#pragma GCC visibility pop
