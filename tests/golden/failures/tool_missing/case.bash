# The tools lie nowhere that xp looks: it says so before it launches anything.
launch_in=(without_tools)
after_launch() { :; }
