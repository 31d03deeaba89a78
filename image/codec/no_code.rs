// no_code.rs: cargo asks for a source file; the package exists for its lock file alone.
