# What an engine team needs: two headers, both libraries, the plugin, the command, and the two ways to find them.
