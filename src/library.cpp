// The shared library consists of the archives it is linked from.
