// A source must be there for its headers to be precompiled.
