// Gives the precompiled headers of the tests a source file to belong to.
