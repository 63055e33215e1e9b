# As somebody may write it into the project's file.
run_name=impl_1
new_args=(--device lp384 --package qn32)
before_launch() {
  sed -i 's/Package="qn32"/Package="qn33"/' proj/project.xml
}
