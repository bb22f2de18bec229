// The shared test support; its precompiled header serves every test.
