// A shared library of this package is made of the whole of some static libraries; CMake wants a
// source of its own for it, and this is that source. It defines nothing.
