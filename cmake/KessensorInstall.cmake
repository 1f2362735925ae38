# Installation of the libraries, headers and the package that other CMake projects find.
