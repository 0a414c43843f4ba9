// Identification string of the library, findable in the binary with `strings`.
extern "C" {
__attribute__((used)) const char zelkLogReadVersion[] = "@(#) libzelkLogReadST 3.0.0";
}
