// Gives the precompiled headers a source file to belong to.
