// A shared library that is no plug-in.
extern "C" int SomethingElse() {
  return 0;
}
