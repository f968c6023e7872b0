"""What the end-to-end tests run: sandboxes, crates, servers, clients."""
