// Nothing but the headers that are precompiled, which the build names.
