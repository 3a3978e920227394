// An object with a function that the linker may share: what the search for such functions has to find.

inline int Shared(int value) {
  return value + 1;
}

using Function = int (*)(int);
Function TakenFrom() {
  return Shared;
}
